#include "HVJsonRepair.h"
#include "HVJsonValue.h"

#include <rapidjson/error/en.h>

namespace Halvorn {

namespace {

/// Iterative, so that no depth of nesting can exhaust the stack. Not in full precision: a number may be off
/// by the last digits of a double, which no getter shows.
constexpr unsigned kParseFlags = rapidjson::kParseIterativeFlag | rapidjson::kParseNanAndInfFlag;

std::shared_ptr<rapidjson::Document> Parse(std::string const& text) {
    auto document = std::make_shared<rapidjson::Document>();
    document->Parse<kParseFlags>(text.data(), text.size());
    return document;
}

void TellFailure(std::shared_ptr<IHVError const>* error, char const* reason, std::size_t place) {
    if (error != nullptr)
        *error = IHVError::MallocError("HVJsonReader", __LINE__, "ReadJsonString", -1, "Error",
                                       "%s (at byte %zu)", reason, place);
}

} // namespace

std::shared_ptr<IHVJsonValue const> IHVJsonReader::ReadJsonString(std::string const& text,
                                                                  std::shared_ptr<IHVError const>* error) {
    // The parser takes a NUL for the end of the text.
    if (std::size_t const nul = text.find('\0'); nul != std::string::npos) {
        TellFailure(error, "There is a NUL in it.", nul);
        return nullptr;
    }
    std::shared_ptr<rapidjson::Document> document;
    if (!MayHoldLoneSurrogate(text))
        document = Parse(text);
    if (document == nullptr || document->HasParseError()) {
        document.reset();
        document = Parse(RepairJson(text));
    }
    if (document->HasParseError()) {
        TellFailure(error, rapidjson::GetParseError_En(document->GetParseError()),
                    document->GetErrorOffset());
        return nullptr;
    }
    rapidjson::Value const* const root = document.get();
    return std::make_shared<HVJsonValue>(std::move(document), root);
}

} // namespace Halvorn

// A document without some of its members.

#include "HVJsonValue.h"
#include "IHVStringHelper.h"

#include <algorithm>

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace Halvorn {

namespace {

using Buffer = rapidjson::StringBuffer;
using Writer = rapidjson::Writer<Buffer, rapidjson::UTF8<>, rapidjson::ASCII<>, rapidjson::CrtAllocator,
                                 rapidjson::kWriteNanAndInfFlag>;
using Size = rapidjson::SizeType;

/// Passes a document on to a writer, but for the members of some names.
class Filter {
public:
    Filter(Buffer& buffer, std::vector<std::string> const& names) : writer_(buffer), names_(names) {}

    bool Null() { return Skips() || writer_.Null(); }
    bool Bool(bool value) { return Skips() || writer_.Bool(value); }
    bool Int(int value) { return Skips() || writer_.Int(value); }
    bool Uint(unsigned value) { return Skips() || writer_.Uint(value); }
    bool Int64(std::int64_t value) { return Skips() || writer_.Int64(value); }
    bool Uint64(std::uint64_t value) { return Skips() || writer_.Uint64(value); }
    bool Double(double value) { return Skips() || writer_.Double(value); }
    bool RawNumber(char const* text, Size length, bool copy) {
        return Skips() || writer_.RawNumber(text, length, copy);
    }
    bool String(char const* text, Size length, bool /*copy*/) {
        return Skips() || writer_.String(text, length);
    }
    bool Key(char const* text, Size length, bool /*copy*/) {
        if (skipping_)
            return true;
        std::string const name = IHVStringHelper::ToLower(std::string(text, length));
        skipping_ = std::find(names_.begin(), names_.end(), name) != names_.end();
        return skipping_ || writer_.Key(text, length);
    }
    bool StartObject() { return Opens() || writer_.StartObject(); }
    bool EndObject(Size) { return Closes() || writer_.EndObject(); }
    bool StartArray() { return Opens() || writer_.StartArray(); }
    bool EndArray(Size) { return Closes() || writer_.EndArray(); }

private:
    bool Skips() {
        bool const skips = skipping_;
        skipping_ = skipping_ && depth_ > 0;
        return skips;
    }
    bool Opens() {
        depth_ += skipping_ ? 1 : 0;
        return skipping_;
    }
    bool Closes() {
        bool const skips = skipping_;
        if (skips)
            skipping_ = --depth_ > 0;
        return skips;
    }

    Writer writer_;
    std::vector<std::string> const& names_;
    bool skipping_ = false; ///< in the value of such a member
    int depth_ = 0;         ///< in that value
};

} // namespace

std::string HVJsonValue::ToTextWithout(std::vector<std::string> const& names) const {
    Buffer buffer;
    Filter filter(buffer, names);
    value_->Accept(filter);
    return {buffer.GetString(), buffer.GetSize()};
}

std::string IHVJsonReader::JsonTextWithout(std::shared_ptr<IHVJsonValue const> const& node,
                                           std::vector<std::string> const& names) {
    auto const* const own = dynamic_cast<HVJsonValue const*>(node.get());
    return own == nullptr ? std::string() : own->ToTextWithout(names);
}

} // namespace Halvorn

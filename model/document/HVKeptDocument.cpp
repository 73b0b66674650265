#include "HVKeptDocument.h"

#include "IHVFileProvider.h"
#include "IHVLogConfig.h"

#include <cstring>

namespace Halvorn {

namespace {

constexpr int kRandomNameLength = 10;
/// Most sites' addresses hold for some hours. An old one costs a failed request before the tool goes back.
constexpr std::chrono::hours kServes(3);

} // namespace

HVKeptDocument::HVKeptDocument(std::string const& path, std::size_t terms)
    : path_(path), terms_(terms), file_(std::make_unique<HVPrivateFile>(path)) {}

std::shared_ptr<HVKeptDocument const> HVKeptDocument::Keep(HVJsonNode const& document,
                                                           std::string const& address, std::size_t terms) {
    std::string const folder = IHVFileProvider::GetTmpPath();
    // The tool goes back to this address by itself. Its own choice, the page's, may be that of a whole list.
    std::string const text = IHVJsonReader::JsonTextWith(document, "webpage_url", address);
    if (folder.empty() || text.empty())
        return nullptr;
    auto const kept = std::make_shared<HVKeptDocument>(
        IHVFileProvider::AppendPathComponent(
            folder, IHVFileProvider::CreateRandomFileName("json", kRandomNameLength)),
        terms);
    if (int const error = kept->file_->Make(text); error != 0) {
        IHVLogConfig::Printf(IHVLogConfig::LogLevelWarning, "Can't keep a document for its download: %s",
                             std::strerror(error));
        return nullptr;
    }
    return kept;
}

bool HVKeptDocument::Serves(std::size_t terms) const {
    return terms == terms_ && std::chrono::steady_clock::now() - made_ < kServes;
}

} // namespace Halvorn

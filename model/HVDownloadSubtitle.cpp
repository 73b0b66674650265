#include "HVDownloadSubtitle.h"

#include <cctype>

namespace Halvorn {

// The copies are partial on purpose: a copy of a language offers nothing until it is loaded.
HVDownloadSubtitle::HVDownloadSubtitle(IHVDownloadSubtitle const* other) {
    if (other != nullptr)
        languageName_ = other->GetLanguageName();
}

HVDownloadSubtitle::HVDownloadSubtitle(std::shared_ptr<IHVDownloadSubtitle> const& /*other*/) {}

std::shared_ptr<HVDownloadSubtitle> HVDownloadSubtitle::Kept(std::string languageCode,
                                                             std::string languageName,
                                                             std::string const& format, bool authored) {
    auto subtitle = std::make_shared<HVDownloadSubtitle>();
    subtitle->languageCode_ = std::move(languageCode);
    subtitle->languageName_ = std::move(languageName);
    subtitle->currentSubtitleFormat_ = format;
    if (!format.empty())
        subtitle->subtitleFormats_[format] = {};
    subtitle->authored_ = authored;
    return subtitle;
}

bool IHVDownloadSubtitle::MadeByPeople() const {
    auto const* const own = dynamic_cast<HVDownloadSubtitle const*>(this);
    return own != nullptr && own->IsAuthored();
}

std::vector<std::string> HVDownloadSubtitle::GetSubtitleFormats() const {
    std::vector<std::string> formats;
    formats.reserve(subtitleFormats_.size());
    for (auto const& [format, url] : subtitleFormats_)
        formats.push_back(format);
    return formats;
}

std::string HVDownloadSubtitle::GetSubtitleURL(std::string const& format) const {
    auto const found = subtitleFormats_.find(format);
    return found == subtitleFormats_.end() ? std::string() : found->second;
}

void HVDownloadSubtitle::AddSubtitleFormat(std::string const& /*format*/, std::string const& /*url*/) {}

void HVDownloadSubtitle::AddSubtitleFormats(std::map<std::string, std::string> /*formats*/) {}

bool HVDownloadSubtitle::SetCurrentSubtitleFormat(std::string const& format) {
    currentSubtitleFormat_ = format;
    return !format.empty();
}

std::string HVDownloadSubtitle::CurrentSubtitleExtension() const {
    return languageCode_ + "." + currentSubtitleFormat_;
}

bool HVDownloadSubtitle::LoadFromJsonObject(std::string const& languageCode,
                                            std::shared_ptr<HVJsonObjectSubtitle> const& json) {
    if (json == nullptr)
        return false;
    languageCode_ = languageCode;
    languageName_ = json->GetName(languageCode);
    subtitleFormats_ = json->GetFormatAndUrls(languageCode);
    if (!subtitleFormats_.empty())
        currentSubtitleFormat_ = subtitleFormats_.begin()->first;
    return true;
}

} // namespace Halvorn

namespace {

/// The first letter as a signed number, so that bytes above 127 go before ASCII; 0 for an empty name.
signed char SortLetter(Halvorn::IHVDownloadSubtitle const* subtitle) {
    std::string const name = subtitle == nullptr ? std::string() : subtitle->GetLanguageName();
    unsigned char const first = name.empty() ? '\0' : static_cast<unsigned char>(name[0]);
    return static_cast<signed char>(std::tolower(first));
}

} // namespace

bool CompareByName(std::shared_ptr<Halvorn::IHVDownloadSubtitle>& a,
                   std::shared_ptr<Halvorn::IHVDownloadSubtitle>& b) {
    return SortLetter(a.get()) < SortLetter(b.get());
}

#include "HVConversionOptions.h"

#include "HVDownloadOptions.h"
#include "IHVDownloadItem.h"
#include "IHVError.h"

#include <utility>

namespace Halvorn {

namespace {

constexpr char kFile[] = "HVConversionOptions";

std::shared_ptr<IHVError const> Outcome(char const* function, std::string const& fault) {
    if (fault.empty())
        return IHVError::MallocSucceed(kFile, __LINE__, function);
    return IHVError::MallocError(kFile, __LINE__, function, -1, "Error", fault.c_str());
}

} // namespace

std::shared_ptr<IHVConversionOptions> IHVConversionOptions::MallocConversionOptions() {
    return std::make_shared<HVConversionOptions>();
}

std::shared_ptr<IHVError const> HVConversionOptions::Take(char const* function, HVConversion changed) {
    std::string const fault = ConversionFault(changed);
    if (fault.empty())
        values_ = std::move(changed);
    return Outcome(function, fault);
}

std::shared_ptr<IHVError const> HVConversionOptions::SetAudio(std::string const& kind, int quality) {
    HVConversion changed = values_;
    changed.audio = kind;
    changed.audioQuality = quality;
    return Take("SetAudio", std::move(changed));
}

std::shared_ptr<IHVError const> HVConversionOptions::SetContainer(std::string const& container) {
    HVConversion changed = values_;
    changed.container = container;
    return Take("SetContainer", std::move(changed));
}

std::shared_ptr<IHVError const> HVConversionOptions::SetEmbedThumbnail(bool embed) {
    HVConversion changed = values_;
    changed.thumbnail = embed;
    return Take("SetEmbedThumbnail", std::move(changed));
}

std::shared_ptr<IHVError const> HVConversionOptions::SetEmbedMetadata(bool embed) {
    HVConversion changed = values_;
    changed.metadata = embed;
    return Take("SetEmbedMetadata", std::move(changed));
}

std::shared_ptr<IHVError const> HVConversionOptions::SetEmbedChapters(bool embed) {
    HVConversion changed = values_;
    changed.chapters = embed;
    return Take("SetEmbedChapters", std::move(changed));
}

std::shared_ptr<IHVError const> HVConversionOptions::SetEmbedSubtitles(bool embed, bool keepFiles) {
    HVConversion changed = values_;
    changed.subtitles = embed;
    changed.keepSubtitles = embed && keepFiles;
    return Take("SetEmbedSubtitles", std::move(changed));
}

std::shared_ptr<IHVError const> HVConversionOptions::SetSubtitleFormat(std::string const& format) {
    HVConversion changed = values_;
    changed.subtitleFormat = format;
    return Take("SetSubtitleFormat", std::move(changed));
}

std::shared_ptr<IHVError const> HVConversionOptions::SetSections(std::vector<HVSection> const& sections) {
    HVConversion changed = values_;
    changed.sections = sections;
    return Take("SetSections", std::move(changed));
}

std::shared_ptr<IHVError const> HVConversionOptions::SetSplitChapters(bool split) {
    HVConversion changed = values_;
    changed.splitChapters = split;
    return Take("SetSplitChapters", std::move(changed));
}

std::shared_ptr<IHVError const> HVConversionOptions::SetExactCuts(bool exact) {
    HVConversion changed = values_;
    changed.exactCuts = exact;
    return Take("SetExactCuts", std::move(changed));
}

std::shared_ptr<IHVError const> HVConversionOptions::SetSponsorsRemoved(std::string const& categories) {
    HVConversion changed = values_;
    changed.sponsorsRemoved = categories;
    return Take("SetSponsorsRemoved", std::move(changed));
}

std::shared_ptr<IHVError const> HVConversionOptions::SetSponsorsMarked(std::string const& categories) {
    HVConversion changed = values_;
    changed.sponsorsMarked = categories;
    return Take("SetSponsorsMarked", std::move(changed));
}

std::shared_ptr<IHVError const> HVConversionOptions::SetSponsorService(std::string const& url) {
    HVConversion changed = values_;
    changed.sponsorService = url;
    return Take("SetSponsorService", std::move(changed));
}

std::shared_ptr<IHVError const> HVConversionOptions::Check(IHVDownloadItem const& item) const {
    return Outcome("Check", ConversionFault(values_, item));
}

std::shared_ptr<IHVConversionOptions> HVConversionOptions::Clone() const {
    return std::make_shared<HVConversionOptions>(*this);
}

void IHVDownloadOptions::SetConversionOptions(std::shared_ptr<IHVConversionOptions> options) {
    if (auto* const concrete = dynamic_cast<HVDownloadOptions*>(this))
        concrete->SetConversion(std::move(options));
}

std::shared_ptr<IHVConversionOptions const> IHVDownloadOptions::GetConversionOptions() const {
    auto const* const concrete = dynamic_cast<HVDownloadOptions const*>(this);
    return concrete == nullptr ? nullptr : concrete->Conversion();
}

HVConversion ConversionOf(IHVDownloadOptions const* options) {
    auto const record = options == nullptr ? nullptr : options->GetConversionOptions();
    auto const* const concrete = dynamic_cast<HVConversionOptions const*>(record.get());
    return concrete == nullptr ? HVConversion() : concrete->Values();
}

} // namespace Halvorn

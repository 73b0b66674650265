#pragma once
// The implementation of IHVConversionOptions.

#include "HVConversion.h"

namespace Halvorn {

class HVConversionOptions final : public IHVConversionOptions {
public:
    std::shared_ptr<IHVError const> SetAudio(std::string const& kind, int quality) override;
    std::string GetAudio() const override { return values_.audio; }
    int GetAudioQuality() const override { return values_.audioQuality; }
    std::string GetContainer() const override { return values_.container; }
    std::shared_ptr<IHVError const> SetContainer(std::string const& container) override;
    std::shared_ptr<IHVError const> SetEmbedThumbnail(bool embed) override;
    bool GetEmbedThumbnail() const override { return values_.thumbnail; }
    std::shared_ptr<IHVError const> SetEmbedMetadata(bool embed) override;
    bool GetEmbedMetadata() const override { return values_.metadata; }
    std::shared_ptr<IHVError const> SetEmbedChapters(bool embed) override;
    bool GetEmbedChapters() const override { return values_.chapters; }
    std::shared_ptr<IHVError const> SetEmbedSubtitles(bool embed, bool keepFiles) override;
    bool GetEmbedSubtitles() const override { return values_.subtitles; }
    bool GetKeepSubtitleFiles() const override { return values_.SubtitlesBeside(); }
    std::shared_ptr<IHVError const> SetSubtitleFormat(std::string const& format) override;
    std::string GetSubtitleFormat() const override { return values_.subtitleFormat; }
    std::shared_ptr<IHVError const> SetSections(std::vector<HVSection> const& sections) override;
    std::vector<HVSection> GetSections() const override { return values_.sections; }
    std::shared_ptr<IHVError const> SetSplitChapters(bool split) override;
    bool GetSplitChapters() const override { return values_.splitChapters; }
    std::shared_ptr<IHVError const> SetExactCuts(bool exact) override;
    bool GetExactCuts() const override { return values_.exactCuts; }
    std::shared_ptr<IHVError const> SetSponsorsRemoved(std::string const& categories) override;
    std::string GetSponsorsRemoved() const override { return values_.sponsorsRemoved; }
    std::shared_ptr<IHVError const> SetSponsorsMarked(std::string const& categories) override;
    std::string GetSponsorsMarked() const override { return values_.sponsorsMarked; }
    std::shared_ptr<IHVError const> SetSponsorService(std::string const& url) override;
    std::string GetSponsorService() const override { return values_.sponsorService; }
    bool Empty() const override { return values_.Empty(); }
    std::shared_ptr<IHVError const> Check(IHVDownloadItem const& item) const override;
    std::shared_ptr<IHVConversionOptions> Clone() const override;

    HVConversion const& Values() const { return values_; }

private:
    /// Takes the changed values, unless they can't go together.
    std::shared_ptr<IHVError const> Take(char const* function, HVConversion changed);

    HVConversion values_;
};

} // namespace Halvorn

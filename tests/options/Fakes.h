#pragma once
// A format and a subtitle that answer what a test says.

#include "IHVDownloadFormat.h"
#include "IHVDownloadSubtitle.h"

namespace Halvorn {

class FakeFormat final : public IHVDownloadFormat {
public:
    FakeFormat(std::string code, bool merged, std::string extension, std::string postProcessing)
        : code_(std::move(code)), merged_(merged), extension_(std::move(extension)),
          postProcessing_(std::move(postProcessing)) {}

    bool AudioOnly() const override { return false; }
    bool VideoOnly() const override { return false; }
    bool MergeFormat() const override { return merged_; }
    std::string VideoCodecShortName() const override { return {}; }
    std::string VideoCodecName() const override { return {}; }
    std::string AudioCodecShortName() const override { return {}; }
    std::string AudioCodecName() const override { return {}; }
    std::string FormatCode() const override { return code_; }
    std::string Extension() const override { return extension_; }
    std::string Resolution() const override { return {}; }
    int Width() const override { return 0; }
    int Height() const override { return 0; }
    float FramePerSecond() const override { return 0; }
    int ChannelCount() const override { return 0; }
    std::string TBR() const override { return {}; }
    std::string Proto() const override { return {}; }
    std::string VBR() const override { return {}; }
    std::string ABR() const override { return {}; }
    std::string ASR() const override { return {}; }
    std::string HDR() const override { return {}; }
    std::string MoreInfo() const override { return {}; }
    std::string SizeFormat() const override { return {}; }
    std::uint64_t Size() const override { return 0; }
    void SetEstSize(unsigned long long) override {}
    std::string GetAudioLanguage() const override { return {}; }
    std::string PostProcessingOpts() const override { return postProcessing_; }
    std::shared_ptr<IHVDownloadFormat> Clone() const override { return nullptr; }

private:
    std::string code_;
    bool merged_;
    std::string extension_;
    std::string postProcessing_;
};

class FakeSubtitle final : public IHVDownloadSubtitle {
public:
    FakeSubtitle(std::string code, std::string format) : code_(std::move(code)), format_(std::move(format)) {}

    std::string GetLanguageCode() const override { return code_; }
    std::string GetLanguageName() const override { return {}; }
    std::vector<std::string> GetSubtitleFormats() const override { return {}; }
    std::string GetSubtitleURL(std::string const&) const override { return {}; }
    void AddSubtitleFormat(std::string const&, std::string const&) override {}
    void AddSubtitleFormats(std::map<std::string, std::string>) override {}
    std::string GetCurrentSubtitleFormat() const override { return format_; }
    bool SetCurrentSubtitleFormat(std::string const&) override { return false; }
    std::string CurrentSubtitleExtension() const override { return {}; }

private:
    std::string code_;
    std::string format_;
};

} // namespace Halvorn

#pragma once
// A video and an audio format that the tool downloads and joins. It holds no values of its own: every answer
// comes from its halves, which it shares. See IHVDownloadFormat for threads and ownership.

#include "IHVDownloadFormat.h"

namespace Halvorn {

class HVMergeDownloadFormat final : public IHVDownloadFormat {
public:
    /// Without halves: everything is empty or 0.
    explicit HVMergeDownloadFormat(bool forceMKV);
    /// With `forceMKV` the joined file is mkv whatever the halves are.
    HVMergeDownloadFormat(std::shared_ptr<IHVDownloadFormat> const& video,
                          std::shared_ptr<IHVDownloadFormat> const& audio, bool forceMKV);

    bool AudioOnly() const override;
    bool VideoOnly() const override;
    bool MergeFormat() const override { return true; }
    std::string MergeFormatName() const override;
    std::string VideoCodecShortName() const override;
    std::string VideoCodecName() const override;
    std::string AudioCodecShortName() const override;
    std::string AudioCodecName() const override;
    std::string FormatCode() const override;
    std::string Extension() const override;
    std::string Resolution() const override;
    int Width() const override;
    int Height() const override;
    float FramePerSecond() const override;
    int ChannelCount() const override;
    std::string TBR() const override;
    std::string Proto() const override;
    std::string VBR() const override;
    std::string ABR() const override;
    std::string ASR() const override;
    std::string HDR() const override;
    std::string MoreInfo() const override;
    std::string SizeFormat() const override;
    std::uint64_t Size() const override;
    void SetEstSize(unsigned long long size) override;
    std::string GetAudioLanguage() const override;
    std::string PostProcessingOpts() const override;
    std::shared_ptr<IHVDownloadFormat> Clone() const override;

    /// The video half; empty where there is none.
    std::shared_ptr<IHVDownloadFormat> const& Picture() const { return videoFormat_; }
    bool ForcesMKV() const { return forceMKV_; }
    /// The audio half; empty where there is none.
    std::shared_ptr<IHVDownloadFormat> const& Sound() const { return audioFormat_; }

private:
    /// The video half, or the audio half where there is no video half.
    IHVDownloadFormat const* First() const;

    std::shared_ptr<IHVDownloadFormat> videoFormat_;
    std::shared_ptr<IHVDownloadFormat> audioFormat_;
    bool forceMKV_;
};

} // namespace Halvorn

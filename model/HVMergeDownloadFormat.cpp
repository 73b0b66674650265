#include "HVMergeDownloadFormat.h"

#include "HVJsonObjectFormat.h"

namespace Halvorn {

namespace {

/// What `half` answers, or the empty value where it is missing.
template <typename Result>
Result Ask(IHVDownloadFormat const* half, Result (IHVDownloadFormat::*question)() const) {
    return half == nullptr ? Result() : (half->*question)();
}

} // namespace

HVMergeDownloadFormat::HVMergeDownloadFormat(bool forceMKV) : forceMKV_(forceMKV) {}

HVMergeDownloadFormat::HVMergeDownloadFormat(std::shared_ptr<IHVDownloadFormat> const& video,
                                             std::shared_ptr<IHVDownloadFormat> const& audio, bool forceMKV)
    : videoFormat_(video), audioFormat_(audio), forceMKV_(forceMKV) {}

IHVDownloadFormat const* HVMergeDownloadFormat::First() const {
    return videoFormat_ != nullptr ? videoFormat_.get() : audioFormat_.get();
}

bool HVMergeDownloadFormat::AudioOnly() const {
    return videoFormat_ == nullptr;
}
bool HVMergeDownloadFormat::VideoOnly() const {
    return audioFormat_ == nullptr;
}

/// The half's own kind, which forceMKV does not change.
std::string HVMergeDownloadFormat::MergeFormatName() const {
    IHVDownloadFormat const* const half = First();
    return half == nullptr ? std::string() : half->GetFormatName();
}

std::string HVMergeDownloadFormat::VideoCodecShortName() const {
    return Ask(videoFormat_.get(), &IHVDownloadFormat::VideoCodecShortName);
}
std::string HVMergeDownloadFormat::VideoCodecName() const {
    return Ask(videoFormat_.get(), &IHVDownloadFormat::VideoCodecName);
}
std::string HVMergeDownloadFormat::AudioCodecShortName() const {
    return Ask(audioFormat_.get(), &IHVDownloadFormat::AudioCodecShortName);
}
std::string HVMergeDownloadFormat::AudioCodecName() const {
    return Ask(audioFormat_.get(), &IHVDownloadFormat::AudioCodecName);
}

std::string HVMergeDownloadFormat::FormatCode() const {
    std::string video = Ask(videoFormat_.get(), &IHVDownloadFormat::FormatCode);
    if (audioFormat_ == nullptr)
        return video;
    return video.empty() ? audioFormat_->FormatCode() : video + "+" + audioFormat_->FormatCode();
}

std::string HVMergeDownloadFormat::Extension() const {
    return forceMKV_ ? "mkv" : Ask(First(), &IHVDownloadFormat::Extension);
}

std::string HVMergeDownloadFormat::Resolution() const {
    return Ask(videoFormat_.get(), &IHVDownloadFormat::Resolution);
}
int HVMergeDownloadFormat::Width() const {
    return Ask(videoFormat_.get(), &IHVDownloadFormat::Width);
}
int HVMergeDownloadFormat::Height() const {
    return Ask(videoFormat_.get(), &IHVDownloadFormat::Height);
}
float HVMergeDownloadFormat::FramePerSecond() const {
    return Ask(videoFormat_.get(), &IHVDownloadFormat::FramePerSecond);
}
int HVMergeDownloadFormat::ChannelCount() const {
    return Ask(audioFormat_.get(), &IHVDownloadFormat::ChannelCount);
}

// The rates are those of the video half, also where the audio half holds the real figure: a description shows
// them so.
std::string HVMergeDownloadFormat::TBR() const {
    return Ask(First(), &IHVDownloadFormat::TBR);
}
std::string HVMergeDownloadFormat::Proto() const {
    return Ask(First(), &IHVDownloadFormat::Proto);
}
std::string HVMergeDownloadFormat::VBR() const {
    return Ask(First(), &IHVDownloadFormat::VBR);
}
std::string HVMergeDownloadFormat::ABR() const {
    return Ask(First(), &IHVDownloadFormat::ABR);
}
std::string HVMergeDownloadFormat::ASR() const {
    return Ask(First(), &IHVDownloadFormat::ASR);
}
std::string HVMergeDownloadFormat::HDR() const {
    return Ask(videoFormat_.get(), &IHVDownloadFormat::HDR);
}
std::string HVMergeDownloadFormat::MoreInfo() const {
    return Ask(First(), &IHVDownloadFormat::MoreInfo);
}

std::string HVMergeDownloadFormat::SizeFormat() const {
    return HVJsonObjectFormat::FormatFilesize(Size());
}

std::uint64_t HVMergeDownloadFormat::Size() const {
    return Ask(videoFormat_.get(), &IHVDownloadFormat::Size) +
           Ask(audioFormat_.get(), &IHVDownloadFormat::Size);
}

void HVMergeDownloadFormat::SetEstSize(unsigned long long /*size*/) {}

std::string HVMergeDownloadFormat::GetAudioLanguage() const {
    return Ask(audioFormat_.get(), &IHVDownloadFormat::GetAudioLanguage);
}

std::string HVMergeDownloadFormat::PostProcessingOpts() const {
    if (audioFormat_ == nullptr)
        return {};
    FormatType const audio = audioFormat_->GetFormatType();
    if (IsMP4() && audio == FormatMP3)
        return "ffmpeg:-c:a aac -strict -2";
    if (IsWebM() && (audio == FormatM4A || audio == FormatMP3))
        return "ffmpeg:-c:a libopus";
    return {};
}

std::shared_ptr<IHVDownloadFormat> HVMergeDownloadFormat::Clone() const {
    return std::make_shared<HVMergeDownloadFormat>(videoFormat_ == nullptr ? nullptr : videoFormat_->Clone(),
                                                   audioFormat_ == nullptr ? nullptr : audioFormat_->Clone(),
                                                   forceMKV_);
}

} // namespace Halvorn

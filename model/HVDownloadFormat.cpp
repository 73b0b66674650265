#include "HVDownloadFormat.h"

#include "HVFields.h"
#include "IHVLogConfig.h"

#include <stdexcept>

namespace Halvorn {

namespace {

/// What the adapter reads, or 0 where it throws: the tool prints resolutions such as "1280x?", and such a
/// format can be downloaded all the same.
int NumberOrZero(HVJsonObjectFormat const& json, int (HVJsonObjectFormat::*number)() const) {
    try {
        return (json.*number)();
    } catch (std::logic_error const&) {
        IHVLogConfig::Printf("The resolution \"%s\" of format %s is no number.", json.GetResolution().c_str(),
                             json.GetFormatCode().c_str());
        return 0;
    }
}

} // namespace

HVDownloadFormat::HVDownloadFormat(IHVDownloadFormat const* other) {
    if (other == nullptr)
        return;
    videoCodecName_ = other->VideoCodecName();
    audioCodecName_ = other->AudioCodecName();
    formatCode_ = other->FormatCode();
    extension_ = other->Extension();
    resolution_ = other->Resolution();
    width_ = other->Width();
    height_ = other->Height();
    framePerSecond_ = other->FramePerSecond();
    channelCount_ = other->ChannelCount();
    tbr_ = other->TBR();
    proto_ = other->Proto();
    vbr_ = other->VBR();
    abr_ = other->ABR();
    asr_ = other->ASR();
    hdr_ = other->HDR();
    moreInfo_ = other->MoreInfo();
    sizeFormat_ = other->SizeFormat();
    audioLanguage_ = other->GetAudioLanguage();
    size_ = other->Size();
    audioOnly_ = other->AudioOnly();
    videoOnly_ = other->VideoOnly();
    languagePreference_ = other->LanguagePreference();
}

HVDownloadFormat::HVDownloadFormat(std::shared_ptr<IHVDownloadFormat> const& other)
    : HVDownloadFormat(other.get()) {}

void HVDownloadFormat::SetEstSize(unsigned long long size) {
    size_ = size;
    sizeFormat_ = HVJsonObjectFormat::FormatFilesize(size);
}

HVDownloadFormat::TextField const HVDownloadFormat::kTexts[] = {
    {"video codec", &HVDownloadFormat::videoCodecName_},
    {"audio codec", &HVDownloadFormat::audioCodecName_},
    {"code", &HVDownloadFormat::formatCode_},
    {"extension", &HVDownloadFormat::extension_},
    {"resolution", &HVDownloadFormat::resolution_},
    {"total rate", &HVDownloadFormat::tbr_},
    {"protocol", &HVDownloadFormat::proto_},
    {"video rate", &HVDownloadFormat::vbr_},
    {"audio rate", &HVDownloadFormat::abr_},
    {"sample rate", &HVDownloadFormat::asr_},
    {"dynamic range", &HVDownloadFormat::hdr_},
    {"more", &HVDownloadFormat::moreInfo_},
    {"size text", &HVDownloadFormat::sizeFormat_},
    {"language", &HVDownloadFormat::audioLanguage_},
};

void HVDownloadFormat::Write(HVFields& fields) const {
    for (auto const& [name, text] : kTexts)
        fields.SetText(name, this->*text);
    fields.SetInteger("width", width_);
    fields.SetInteger("height", height_);
    fields.SetReal("frames", framePerSecond_);
    fields.SetInteger("channels", channelCount_);
    fields.SetInteger("preference", languagePreference_);
    fields.SetInteger("size", static_cast<std::int64_t>(size_));
    fields.SetInteger("audio only", audioOnly_ ? 1 : 0);
    fields.SetInteger("video only", videoOnly_ ? 1 : 0);
}

void HVDownloadFormat::Read(HVFields const& fields) {
    for (auto const& [name, text] : kTexts)
        this->*text = fields.Get(name);
    width_ = fields.Int("width");
    height_ = fields.Int("height");
    framePerSecond_ = fields.Real("frames");
    channelCount_ = fields.Int("channels");
    languagePreference_ = fields.Int("preference");
    size_ = static_cast<std::uint64_t>(fields.Integer("size"));
    audioOnly_ = fields.Flag("audio only");
    videoOnly_ = fields.Flag("video only");
}

std::shared_ptr<IHVDownloadFormat> HVDownloadFormat::Clone() const {
    return std::make_shared<HVDownloadFormat>(this);
}

std::string HVDownloadFormat::FindShortName(std::string const& name) const {
    std::size_t const dot = name.find('.');
    return dot == 0 ? name : name.substr(0, dot);
}

bool HVDownloadFormat::LoadFromJsonObject(std::shared_ptr<HVJsonObjectFormat> const& json) {
    if (json == nullptr)
        return false;
    formatCode_ = json->GetFormatCode();
    if (formatCode_.empty())
        return false;
    extension_ = json->GetExtension();
    if (extension_ == "mhtml")
        return false;
    videoCodecName_ = json->GetVideCodecName();
    if (videoCodecName_.find("images") != std::string::npos)
        return false;
    audioCodecName_ = json->GetAudioCodecName();
    resolution_ = json->GetResolution();
    width_ = NumberOrZero(*json, &HVJsonObjectFormat::GetWidth);
    height_ = NumberOrZero(*json, &HVJsonObjectFormat::GetHeight);
    framePerSecond_ = json->GetFPS();
    channelCount_ = json->GetChannelCount();
    tbr_ = json->GetTBRString();
    proto_ = json->GetProtocal();
    vbr_ = json->GetVBRString();
    abr_ = json->GetABRString();
    asr_ = json->GetASRString();
    hdr_ = json->GetDynamicRange();
    audioOnly_ = json->GetAudioOnly();
    videoOnly_ = json->GetVideoOnly();
    audioLanguage_ = json->GetAudioLangauge();
    if (int const preference = json->GetLanguagePreference(); preference != 0)
        languagePreference_ = preference;
    moreInfo_ = json->GetMoreInfo();
    sizeFormat_ = json->GetFileSizeString();
    size_ = json->GetFileSize();
    if (audioOnly_ && extension_ == "mp4")
        extension_ = "m4a";
    return true;
}

} // namespace Halvorn

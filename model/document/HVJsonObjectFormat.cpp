#include "HVJsonObjectFormat.h"

#include "HVNumberText.h"
#include "IHVStringHelper.h"

#include <utility>

namespace Halvorn {

namespace {

bool Contains(std::string const& text, char const* part) {
    return text.find(part) != std::string::npos;
}

} // namespace

HVJsonObjectFormat::HVJsonObjectFormat(HVJsonNode node) : node_(std::move(node)) {}

std::string HVJsonObjectFormat::GetFormatCode() const {
    return ReadString(node_, "format_id");
}
std::string HVJsonObjectFormat::GetVideCodecName() const {
    return ReadString(node_, "vcodec");
}
std::string HVJsonObjectFormat::GetAudioCodecName() const {
    return ReadString(node_, "acodec");
}
std::string HVJsonObjectFormat::GetExtension() const {
    return ReadString(node_, "ext");
}
std::string HVJsonObjectFormat::GetResolution() const {
    return ReadString(node_, "resolution");
}
int HVJsonObjectFormat::GetWidth() const {
    return SizeOr("width", 0);
}
int HVJsonObjectFormat::GetHeight() const {
    return SizeOr("height", 1);
}
float HVJsonObjectFormat::GetFPS() const {
    return ReadFloat(node_, "fps");
}
int HVJsonObjectFormat::GetChannelCount() const {
    return ReadInt(node_, "audio_channels");
}
std::string HVJsonObjectFormat::GetProtocal() const {
    return ReadString(node_, "protocol");
}
float HVJsonObjectFormat::GetVBR() const {
    return ReadFloat(node_, "vbr");
}
float HVJsonObjectFormat::GetABR() const {
    return ReadFloat(node_, "abr");
}
float HVJsonObjectFormat::GetTBR() const {
    return ReadFloat(node_, "tbr");
}
int HVJsonObjectFormat::GetASR() const {
    return ReadInt(node_, "asr");
}
std::string HVJsonObjectFormat::GetDynamicRange() const {
    return ReadString(node_, "dynamic_range");
}
std::uint64_t HVJsonObjectFormat::GetFileSize() const {
    return node_ == nullptr ? 0 : node_->GetValueUInt64("filesize");
}
std::string HVJsonObjectFormat::GetAudioLangauge() const {
    return ReadString(node_, "language");
}

int HVJsonObjectFormat::GetLanguagePreference() const {
    return ReadInt(node_, "language_preference");
}

std::string HVJsonObjectFormat::GetVBRString() const {
    return FormatBitrate(GetVBR());
}
std::string HVJsonObjectFormat::GetABRString() const {
    return FormatBitrate(GetABR());
}
std::string HVJsonObjectFormat::GetTBRString() const {
    return FormatBitrate(GetTBR());
}
std::string HVJsonObjectFormat::GetASRString() const {
    return FormatSamplerate(GetASR());
}
std::string HVJsonObjectFormat::GetFileSizeString() const {
    return FormatFilesize(GetFileSize());
}

std::string HVJsonObjectFormat::GetMoreInfo() const {
    return ReadString(node_, "format") + " " + ReadString(node_, "container");
}

bool HVJsonObjectFormat::GetAudioOnly() const {
    return Contains(GetResolution(), "audio only") || Contains(ReadString(node_, "format"), "audio only");
}

bool HVJsonObjectFormat::GetVideoOnly() const {
    return Contains(GetAudioCodecName(), "none") && !GetAudioOnly();
}

float HVJsonObjectFormat::BestBitrate() const {
    float const total = GetTBR();
    if (total > 0.0F)
        return total;
    if (GetAudioOnly())
        return GetABR();
    if (GetVideoOnly())
        return GetVBR();
    return GetABR() + GetVBR();
}

std::string HVJsonObjectFormat::FormatBitrate(float bitrate) {
    return FixedText(static_cast<double>(bitrate), 1) + "K";
}

std::string HVJsonObjectFormat::FormatSamplerate(int samplerate) {
    return FixedText(static_cast<double>(static_cast<float>(samplerate) / 1000.0F), 6) + "KHz";
}

std::string HVJsonObjectFormat::FormatFilesize(unsigned long long size) {
    constexpr unsigned long long kKilo = 1024;
    if (size < kKilo)
        return std::to_string(size) + "B";
    float const bytes = static_cast<float>(size);
    auto text = [bytes](float divisor, char const* unit) {
        return FixedText(static_cast<double>(bytes / divisor), 2) + unit;
    };
    if (size < kKilo * kKilo)
        return text(1024.0F, "KB");
    if (size < kKilo * kKilo * kKilo)
        return text(1048576.0F, "MB");
    return text(1073741824.0F, "GB");
}

/// The number at `key`, or that part of a resolution such as "1920x1080".
int HVJsonObjectFormat::SizeOr(char const* key, std::size_t part) const {
    int const value = ReadInt(node_, key);
    if (value != 0)
        return value;
    std::vector<std::string> const parts = IHVStringHelper::Split(GetResolution(), 'x');
    return parts.size() == 2 ? std::stoi(parts[part]) : 0;
}

} // namespace Halvorn

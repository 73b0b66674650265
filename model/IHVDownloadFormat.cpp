#include "IHVDownloadFormat.h"

#include "HVDownloadFormat.h"
#include "HVMergeDownloadFormat.h"

#include <cmath>
#include <limits>

namespace Halvorn {

namespace {

struct Kind {
    char const* extension;
    IHVDownloadFormat::FormatType type;
};

constexpr Kind kKinds[] = {
    {"mp3", IHVDownloadFormat::FormatMP3},   {"webm", IHVDownloadFormat::FormatWebM},
    {"weba", IHVDownloadFormat::FormatWebA}, {"mkv", IHVDownloadFormat::FormatMKV},
    {"mka", IHVDownloadFormat::FormatMKA},   {"mp4", IHVDownloadFormat::FormatMP4},
    {"m4a", IHVDownloadFormat::FormatM4A},
};

/// Which audio kinds go into the container of a video kind.
bool ContainersMatch(IHVDownloadFormat::FormatType video, IHVDownloadFormat::FormatType audio) {
    bool const common = audio == IHVDownloadFormat::FormatMP3 || audio == IHVDownloadFormat::FormatM4A;
    switch (video) {
    case IHVDownloadFormat::FormatMP4:
        return common;
    case IHVDownloadFormat::FormatWebM:
        return common || audio == IHVDownloadFormat::FormatWebA || audio == IHVDownloadFormat::FormatWebM;
    case IHVDownloadFormat::FormatMKV:
        return common || audio == IHVDownloadFormat::FormatMKA;
    default:
        return false;
    }
}

/// What stands in the parentheses of a description.
std::string DescriptionLabel(IHVDownloadFormat const& format) {
    std::string const language = format.GetAudioLanguage();
    if (format.AudioOnly()) {
        std::string label = format.AudioCodecShortName();
        if (!label.empty() && !language.empty())
            label += ",";
        return label + language;
    }
    std::string label = format.VideoCodecShortName();
    std::string const audio = format.AudioCodecShortName();
    if (!label.empty() && !audio.empty())
        label += ",";
    label += audio;
    // The comma stands also behind nothing, unlike that of a format with sound only.
    return language.empty() ? label : label + "," + language;
}

} // namespace

IHVDownloadFormat::FormatType IHVDownloadFormat::GetFormatType() const {
    std::string const extension = Extension();
    for (Kind const& kind : kKinds) {
        if (extension == kind.extension)
            return kind.type;
    }
    return FormatUnknown;
}

std::string IHVDownloadFormat::GetFormatName(FormatType type) {
    // One name serves the video and the audio kind of this container.
    if (type == FormatWebA)
        return "webm";
    for (Kind const& kind : kKinds) {
        if (type == kind.type)
            return kind.extension;
    }
    return "unknown";
}

std::string IHVDownloadFormat::GetFormatName() const {
    return GetFormatName(GetFormatType());
}
bool IHVDownloadFormat::IsMP4() const {
    return GetFormatType() == FormatMP4;
}
bool IHVDownloadFormat::IsMP3() const {
    return GetFormatType() == FormatMP3;
}
bool IHVDownloadFormat::IsM4A() const {
    return GetFormatType() == FormatM4A;
}
bool IHVDownloadFormat::IsMKV() const {
    return GetFormatType() == FormatMKV;
}
bool IHVDownloadFormat::IsMKA() const {
    return GetFormatType() == FormatMKA;
}
bool IHVDownloadFormat::IsWebM() const {
    return GetFormatType() == FormatWebM;
}
bool IHVDownloadFormat::IsWebA() const {
    return GetFormatType() == FormatWebA;
}

bool IHVDownloadFormat::IsFormatAuxiliary(std::string const& text) {
    return HVDownloadFormat::IsFormatAuxiliary(text);
}

std::shared_ptr<IHVDownloadFormat> IHVDownloadFormat::MallocDownloadFormat(std::string const& row,
                                                                           std::string const& head) {
    auto format = std::make_shared<HVDownloadFormat>();
    if (!format->LoadFormPainText(row, head))
        return nullptr;
    return format;
}

bool IHVDownloadFormat::BetterThan(IHVDownloadFormat const* other) const {
    if (other == nullptr)
        return true;
    if (AudioOnly()) {
        // A sound never goes before a picture; the reverse is left to the sizes below.
        return other->AudioOnly() && Size() > other->Size();
    }
    int const width = Width();
    int const otherWidth = other->Width();
    if (width != otherWidth)
        return width > otherWidth;
    int const height = Height();
    int const otherHeight = other->Height();
    if (height != otherHeight)
        return height > otherHeight;
    return Size() > other->Size();
}

bool IHVDownloadFormat::BetterThan(std::shared_ptr<IHVDownloadFormat const> const& other) const {
    return BetterThan(other.get());
}

bool IHVDownloadFormat::operator==(IHVDownloadFormat const* other) const {
    if (other == nullptr)
        return false;
    if (this == other)
        return true;
    double const rateDifference = static_cast<double>(std::fabs(FramePerSecond() - other->FramePerSecond()));
    // What costs nothing and tells most formats apart comes first; then the free text, which names the
    // format: an item of thousands is compared each with each.
    return Width() == other->Width() && Height() == other->Height() && Size() == other->Size() &&
           ChannelCount() == other->ChannelCount() &&
           !(rateDifference > std::numeric_limits<double>::epsilon()) && MoreInfo() == other->MoreInfo() &&
           TBR() == other->TBR() && Extension() == other->Extension() &&
           Resolution() == other->Resolution() && VideoCodecName() == other->VideoCodecName() &&
           AudioCodecName() == other->AudioCodecName() && VBR() == other->VBR() && ABR() == other->ABR() &&
           ASR() == other->ASR() && HDR() == other->HDR() && SizeFormat() == other->SizeFormat();
}

bool IHVDownloadFormat::operator==(std::shared_ptr<IHVDownloadFormat const> const& other) const {
    return *this == other.get();
}

int IHVDownloadFormat::CompareDownloadFormat(std::shared_ptr<IHVDownloadFormat> const& a,
                                             std::shared_ptr<IHVDownloadFormat> const& b) {
    if (a == nullptr || b == nullptr)
        return 0;
    if (a->BetterThan(b))
        return 1;
    return b->BetterThan(a) ? -1 : 0;
}

bool IHVDownloadFormat::CanMergeDownloadFormat(std::shared_ptr<IHVDownloadFormat> const& a,
                                               std::shared_ptr<IHVDownloadFormat> const& b) {
    if (a == nullptr || b == nullptr)
        return false;
    if (a->VideoOnly() && b->AudioOnly())
        return ContainersMatch(a->GetFormatType(), b->GetFormatType());
    if (a->AudioOnly() && b->VideoOnly())
        return ContainersMatch(b->GetFormatType(), a->GetFormatType());
    return false;
}

std::shared_ptr<IHVDownloadFormat>
IHVDownloadFormat::MergeDownloadFormat(std::shared_ptr<IHVDownloadFormat> const& a,
                                       std::shared_ptr<IHVDownloadFormat> const& b, bool forceMKV) {
    if (!CanMergeDownloadFormat(a, b))
        return nullptr;
    bool const videoFirst = a->VideoOnly();
    return std::make_shared<HVMergeDownloadFormat>(videoFirst ? a : b, videoFirst ? b : a, forceMKV);
}

int IHVDownloadFormat::LanguagePreference() const {
    if (auto const* const plain = dynamic_cast<HVDownloadFormat const*>(this))
        return plain->PreferenceOfLanguage();
    if (auto const* const merged = dynamic_cast<HVMergeDownloadFormat const*>(this))
        return merged->Sound() == nullptr ? HVDownloadFormat::kNoLanguagePreference
                                          : merged->Sound()->LanguagePreference();
    return HVDownloadFormat::kNoLanguagePreference;
}

std::string IHVDownloadFormat::Description() const {
    std::string const label = DescriptionLabel(*this);
    std::string const rate = TBR();
    std::string text = Extension();
    if (!label.empty())
        text += "(" + label + ")";
    if (AudioOnly())
        return rate.empty() ? text : text + " - " + rate;
    text += " - ";
    if (!rate.empty())
        text += rate + " ";
    return text + Resolution();
}

} // namespace Halvorn

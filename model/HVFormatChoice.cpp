#include "HVFormatChoice.h"

#include "HVMergeDownloadFormat.h"
#include "IHVDownloadItem.h"
#include "IHVStringHelper.h"

#include <algorithm>
#include <climits>

namespace Halvorn {

namespace {

/// What part of the best sound's size another one may have and still count as nearly as good.
constexpr double kCloseSize = 0.75;
/// What is called 60 frames a second may be 59.94, or a little more than 60.
constexpr float kRateTolerance = 1.01F;

/// Names that the same codec goes by.
constexpr std::initializer_list<std::initializer_list<char const*>> kCodecs = {
    {"avc1", "avc3", "h264", "x264"},
    {"hev1", "hvc1", "hevc", "h265", "x265"},
    {"av01", "av1"},
    {"vp09", "vp9"},
    {"vp08", "vp8"},
    {"mp4a", "aac"}};

bool SameCodec(std::string const& wish, std::string const& codec) {
    std::string const left = IHVStringHelper::ToLower(wish);
    std::string const right = IHVStringHelper::ToLower(codec);
    if (left == right)
        return true;
    for (auto const& names : kCodecs) {
        auto const holds = [&names](std::string const& text) {
            return std::find(names.begin(), names.end(), text) != names.end();
        };
        if (holds(left) && holds(right))
            return true;
    }
    return false;
}

bool SameLanguage(std::string const& wish, std::string const& language) {
    std::string const left = IHVStringHelper::ToLower(wish);
    std::string const right = IHVStringHelper::ToLower(language);
    return right == left || right.starts_with(left + "-");
}

/// The smaller side of the picture. Where one of the two is not known, the other stands for it.
int SmallerSide(IHVDownloadFormat const& format) {
    int const smaller = std::min(format.Width(), format.Height());
    return smaller > 0 ? smaller : std::max(format.Width(), format.Height());
}

bool HasPicture(IHVDownloadFormat const& format) {
    return !format.AudioOnly();
}

bool HasSound(IHVDownloadFormat const& format) {
    return !format.VideoOnly();
}

/// Whether the sound is nearly as large as the other, which stands for nearly as good. Unknown sizes say
/// nothing.
bool IsClose(IHVDownloadFormat const& sound, IHVDownloadFormat const& best) {
    return sound.Size() == 0 || best.Size() == 0 ||
           static_cast<double>(sound.Size()) >= kCloseSize * static_cast<double>(best.Size());
}

/// Whether the two go into one container without transcoding.
bool CanBeCopied(HVFormatChoice::Format const& picture, HVFormatChoice::Format const& sound) {
    auto const merged = IHVDownloadFormat::MergeDownloadFormat(picture, sound, false);
    return merged != nullptr && merged->PostProcessingOpts().empty();
}

} // namespace

HVFormatChoice::HVFormatChoice(Formats const& formats, HVFormatWish const& wish, bool liveStream)
    : wish_(wish), liveStream_(liveStream), ordered_(formats) {
    ordered_.erase(std::remove(ordered_.begin(), ordered_.end(), nullptr), ordered_.end());
    if (!wish.worst)
        std::reverse(ordered_.begin(), ordered_.end());
    for (auto const& format : ordered_)
        languagesTold_ = languagesTold_ || !format->GetAudioLanguage().empty();
    sounds_ = Sounds();
}

HVFormatChoice::Formats HVFormatChoice::Sounds() const {
    Formats found;
    int preference = INT_MIN;
    for (auto const& format : ordered_)
        if (format->AudioOnly() && InLanguage(*format)) {
            found.push_back(format);
            preference = std::max(preference, format->LanguagePreference());
        }
    // A dub, or a description for the blind, goes behind the original also where it is the larger one.
    std::erase_if(found,
                  [preference](auto const& format) { return format->LanguagePreference() < preference; });
    return found;
}

bool HVFormatChoice::InLanguage(IHVDownloadFormat const& format) const {
    return wish_.language.empty() || !languagesTold_ ||
           SameLanguage(wish_.language, format.GetAudioLanguage());
}

bool HVFormatChoice::WithinLimits(IHVDownloadFormat const& format) const {
    return (wish_.maxHeight == 0 || SmallerSide(format) <= wish_.maxHeight) &&
           (wish_.maxFramePerSecond <= 0 ||
            format.FramePerSecond() <= wish_.maxFramePerSecond * kRateTolerance);
}

bool HVFormatChoice::Preferred(IHVDownloadFormat const& format, Preference preference) const {
    if (preference.container && format.Extension() != wish_.container)
        return false;
    std::string const codec =
        HasPicture(format) ? format.VideoCodecShortName() : format.AudioCodecShortName();
    return !preference.codec || SameCodec(wish_.codec, codec);
}

HVFormatChoice::Format HVFormatChoice::Best() const {
    for (Preference const preference :
         {Preference{true, true}, Preference{false, true}, Preference{true, false}, Preference{}}) {
        if ((preference.container && wish_.container.empty()) || (preference.codec && wish_.codec.empty()))
            continue;
        if (auto best = wish_.audioOnly ? BestSound(preference) : BestPicture(preference))
            return best;
    }
    return nullptr;
}

HVFormatChoice::Format HVFormatChoice::BestSound(Preference preference) const {
    for (auto const& sound : sounds_)
        if (Preferred(*sound, preference))
            return sound;
    return nullptr;
}

HVFormatChoice::Format HVFormatChoice::BestPicture(Preference preference) const {
    Format silent;
    bool pictures = false;
    for (auto const& format : ordered_) {
        pictures = pictures || HasPicture(*format);
        if (!HasPicture(*format) || !WithinLimits(*format))
            continue;
        if (HasSound(*format)) {
            if (InLanguage(*format) && Preferred(*format, preference))
                return format;
        } else if (auto pair = WithSound(format, preference)) {
            return pair;
        } else if (silent == nullptr && sounds_.empty() && Preferred(*format, preference)) {
            silent = format;
        }
    }
    // A silent picture only where nothing has sound in any language; a sound only where nothing has a
    // picture.
    bool const anySound = std::any_of(ordered_.begin(), ordered_.end(), [this](auto const& format) {
        return HasSound(*format) && (!HasPicture(*format) || WithinLimits(*format));
    });
    if (silent != nullptr && !anySound)
        return silent;
    return pictures ? nullptr : BestSound(preference);
}

HVFormatChoice::Format HVFormatChoice::WithSound(Format const& picture, Preference preference) const {
    if (sounds_.empty())
        return nullptr;
    Format const& best = sounds_.front();
    Format pair;
    for (auto const& sound : sounds_)
        if (pair == nullptr && CanBeCopied(picture, sound) &&
            (wish_.worst || preference.container || IsClose(*sound, *best)))
            pair = Pair(picture, sound, liveStream_);
    bool const toMkv = preference.container && wish_.container == "mkv";
    if (pair == nullptr || toMkv)
        pair = std::make_shared<HVMergeDownloadFormat>(picture, best, true);
    return Preferred(*pair, preference) ? pair : nullptr;
}

HVFormatChoice::Format HVFormatChoice::Nearest(IHVDownloadItem const& item, IHVDownloadFormat const& former) {
    HVFormatWish wish;
    wish.language = former.GetAudioLanguage();
    wish.audioOnly = former.AudioOnly();
    wish.maxHeight = SmallerSide(former);
    wish.maxFramePerSecond = former.FramePerSecond();
    wish.container = former.Extension();
    wish.codec = HasPicture(former) ? former.VideoCodecShortName() : former.AudioCodecShortName();
    auto nearest = item.BestFormat(wish);
    if (nearest == nullptr) { // only larger ones are left
        wish.maxHeight = 0;
        wish.maxFramePerSecond = 0;
        wish.worst = true;
        nearest = item.BestFormat(wish);
    }
    return nearest;
}

HVFormatChoice::Format HVFormatChoice::Pair(Format const& picture, Format const& sound, bool liveStream) {
    return std::make_shared<HVMergeDownloadFormat>(picture, sound,
                                                   liveStream || !CanBeCopied(picture, sound));
}

} // namespace Halvorn

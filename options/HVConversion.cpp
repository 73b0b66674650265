// What can't go together. The tool would find most of it out after the download, or pass over it in silence.

#include "HVConversion.h"

#include "IHVDownloadItem.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <string_view>

namespace Halvorn {

namespace {

using Words = std::initializer_list<std::string_view>;

/// More than anybody types; each is a run of ffmpeg.
constexpr std::size_t kMostSections = 1000;
/// A month.
constexpr double kLongest = 31 * 86400.0;
/// The tool is told thousandths of a second.
constexpr double kShortest = 0.001;
/// Qualities above this are kbit/s.
constexpr int kWorstQuality = 10;

bool IsOneOf(std::string_view word, Words words) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

std::string Quoted(std::string const& text) {
    return "\"" + text + "\"";
}

std::string AudioFault(HVConversion const& values) {
    std::string const& kind = values.audio;
    int const quality = values.audioQuality;
    if (!IsOneOf(kind, {"", "best", "mp3", "m4a", "opus", "flac", "wav"}))
        return "there is no sound " + Quoted(kind) + "; there are best, mp3, m4a, opus, flac and wav";
    if (quality == IHVConversionOptions::HVDefaultAudioQuality)
        return {};
    if (IsOneOf(kind, {"", "best", "flac", "wav"}))
        return (kind.empty() ? "a quality counts only beside a sound" : kind + " has no quality to choose") +
               "; choose mp3, m4a or opus, or leave the quality out";
    if (kind == "opus" && quality >= 0 && quality <= kWorstQuality)
        return "opus takes kbit/s, such as 96, and no quality from 0 to 10";
    int const most = kind == "mp3" ? 320 : kind == "opus" ? 256 : 512;
    if (quality < 0 || quality > most)
        return "the quality of " + kind + " is 0 (best) to 10, or kbit/s up to " + std::to_string(most) +
               ", not " + std::to_string(quality);
    return {};
}

std::string SectionsFault(HVConversion const& values) {
    if (values.sections.size() > kMostSections)
        return "there are more than " + std::to_string(kMostSections) + " parts; take several downloads";
    for (auto one = values.sections.begin(); one != values.sections.end(); ++one) {
        // Written so that what is no number is refused.
        if (!(one->begin >= 0 && one->begin <= kLongest && one->end >= 0 && one->end <= kLongest))
            return "a part begins and ends at seconds from 0 to 2678400";
        if (one->end != 0 && one->end < one->begin + kShortest)
            return "a part ends before it begins; name the earlier time first";
        if (std::any_of(values.sections.begin(), one, [one](HVSection const& other) {
                return std::abs(other.begin - one->begin) < kShortest &&
                       std::abs(other.end - one->end) < kShortest;
            }))
            return "a part is named twice; leave one of the two out";
    }
    if (values.sections.empty())
        return {};
    if (values.splitChapters)
        return "parts and a file for each chapter can't be had together; choose one of the two";
    if (values.chapters)
        return "the chapters are those of the whole; leave either them or the parts out";
    if (values.subtitles || !values.subtitleFormat.empty())
        return "subtitles are not cut to the parts; leave either the subtitles or the parts out";
    if (!values.sponsorsRemoved.empty() || !values.sponsorsMarked.empty())
        return "sponsored parts are known for the whole alone; leave either them or the parts out";
    return {};
}

/// Of a list of categories, as the tool knows them; some can be marked only.
std::string CategoriesFault(std::string const& list, bool remove) {
    for (std::size_t begin = 0; !list.empty() && begin <= list.size();) {
        std::size_t const end = std::min(list.find(',', begin), list.size());
        std::string_view word = std::string_view(list).substr(begin, end - begin);
        if (word.starts_with('-'))
            word.remove_prefix(1);
        if (remove && IsOneOf(word, {"poi_highlight", "chapter"}))
            return "parts of the category " + Quoted(std::string(word)) + " can only be marked";
        if (!IsOneOf(word, {"all", "default", "sponsor", "intro", "outro", "selfpromo", "preview", "filler",
                            "interaction", "music_offtopic", "hook", "poi_highlight", "chapter"}))
            return "there is no category " + Quoted(std::string(word.substr(0, 40))) +
                   "; there are sponsor, intro, outro, selfpromo, preview, filler, interaction, "
                   "music_offtopic, hook, all, and to mark poi_highlight and chapter";
        begin = end + 1;
    }
    return {};
}

/// Of what is put into the file.
std::string EmbedFault(HVConversion const& values) {
    if (values.audio == "wav" && values.thumbnail)
        return "wav holds no cover; choose flac, mp3 or m4a, or leave the thumbnail out";
    if (values.chapters && IsOneOf(values.audio, {"wav", "flac"}))
        return values.audio + " holds no chapters; choose mp3, m4a or opus, or leave the chapters out";
    if (values.subtitles && !values.audio.empty())
        return "sound alone holds no subtitles; leave either the sound alone or the subtitles out";
    if (values.subtitles && values.container == "mp4" && values.subtitleFormat == "ass")
        return "mp4 holds no ass subtitles as they are; choose mkv, or srt";
    return {};
}

std::string FileKind(HVConversion const& values, IHVDownloadFormat const& format) {
    return !values.audio.empty()       ? values.audio
           : !values.container.empty() ? values.container
                                       : format.Extension();
}

std::string SubtitlesFault(HVConversion const& values, IHVDownloadItem const& item, std::string const& kind) {
    auto const chosen = item.ChosenSubtitles();
    std::vector<std::string> formats;
    formats.reserve(chosen.size() + 1);
    for (auto const& subtitle : chosen)
        formats.push_back(subtitle->GetCurrentSubtitleFormat());
    if (auto const current = item.CurrentDownloadSubtitle(); chosen.empty() && current != nullptr)
        formats.push_back(current->GetCurrentSubtitleFormat());
    if (formats.empty())
        return {};
    if (!values.sections.empty())
        return "subtitles are not cut to the parts; leave either the subtitles or the parts out";
    if (!values.subtitles && values.subtitleFormat.empty())
        return {};
    for (std::string const& format : formats)
        if (!format.empty() && !IsOneOf(format, {"vtt", "srt", "ass", "ssa", "ttml", "dfxp", "tt", "lrc"}))
            return "subtitles in " + format +
                   " can be neither put into a file nor converted; choose vtt or srt";
    if (!values.subtitles)
        return {};
    if (!IsOneOf(kind, {"mp4", "mov", "m4a", "webm", "mkv", "mka"}))
        return kind + " holds no subtitles; choose the container mkv, or leave the subtitles out";
    for (std::string const& format : formats) {
        std::string const& in = values.subtitleFormat.empty() ? format : values.subtitleFormat;
        if (kind == "webm" && in != "vtt" && !in.empty())
            return "webm holds vtt subtitles alone; choose vtt, or the container mkv";
        if (kind == "mp4" && in == "ass")
            return "mp4 holds no ass subtitles as they are; choose mkv, or srt";
    }
    return {};
}

} // namespace

std::string ConvertedExtension(HVConversion const& values, IHVDownloadItem const& item) {
    auto const format = item.GetCurrentDownloadFormat();
    if (format == nullptr)
        return {};
    std::string const kind = FileKind(values, *format);
    std::string const codec = format->AudioCodecShortName();
    if (kind != "best" || (format->AudioOnly() && format->Extension() != "webm"))
        return kind == "best" ? format->Extension() : kind;
    return codec == "mp4a" || codec == "aac" ? "m4a" : codec == "vorbis" ? "ogg" : codec;
}

bool HVConversion::Empty() const {
    return audio.empty() && container.empty() && subtitleFormat.empty() && sponsorsRemoved.empty() &&
           sponsorsMarked.empty() && sections.empty() && !thumbnail && !metadata && !chapters && !subtitles &&
           !splitChapters;
}

std::string ConversionFault(HVConversion const& values) {
    if (std::string fault = AudioFault(values); !fault.empty())
        return fault;
    if (!IsOneOf(values.container, {"", "mkv", "mp4"}))
        return "there is no container " + Quoted(values.container) + "; there are mkv and mp4";
    if (!values.audio.empty() && !values.container.empty())
        return "sound alone goes into a file of its own kind; leave either it or the container out";
    if (!IsOneOf(values.subtitleFormat, {"", "srt", "vtt", "ass"}))
        return "there are no subtitles in " + Quoted(values.subtitleFormat) + "; there are srt, vtt and ass";
    std::string const& service = values.sponsorService;
    if (!service.empty() && !service.starts_with("http://") && !service.starts_with("https://"))
        return Quoted(service) + " is no address; it begins with https:// or http://";
    for (std::string fault : {SectionsFault(values), CategoriesFault(values.sponsorsRemoved, true),
                              CategoriesFault(values.sponsorsMarked, false), EmbedFault(values)})
        if (!fault.empty())
            return fault;
    return {};
}

std::string ConversionFault(HVConversion const& values, IHVDownloadItem const& item) {
    auto const format = item.GetCurrentDownloadFormat();
    if (values.Empty() || format == nullptr)
        return {};
    if (item.IsLiveStream())
        return "a live stream can't be converted while it is recorded; leave the conversion out";
    if (!values.audio.empty() && format->VideoOnly())
        return "the format has no sound; choose one that has";
    if (values.subtitles && format->AudioOnly())
        return "sound alone holds no subtitles; choose a format with a picture, or leave the subtitles out";
    std::string const kind = FileKind(values, *format);
    if (values.thumbnail &&
        !IsOneOf(kind, {"best", "mp3", "mkv", "mka", "ogg", "opus", "flac", "m4a", "mp4", "m4v", "mov"}))
        return kind + " holds no cover; choose the container mkv, or leave the thumbnail out";
    int const duration = IHVDownloadItem::KnownDurationSeconds(item);
    for (HVSection const& section : values.sections)
        if (duration > 0 && section.begin >= duration)
            return "there is no part from " + std::to_string(std::lround(section.begin)) +
                   " s; the item has " + std::to_string(duration) + " s";
    return SubtitlesFault(values, item, kind);
}

} // namespace Halvorn

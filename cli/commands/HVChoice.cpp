#include "HVChoice.h"

#include "HVRequest.h"

#include <Reelhaul/IHVConversionOptions.h>

#include <algorithm>
#include <array>
#include <charconv>

namespace Halvorn {

namespace {

constexpr std::size_t kNamed = 20;

/// "a, b, c and 12 more".
std::string Listing(std::vector<std::string> const& names) {
    std::string text;
    for (std::size_t i = 0; i < std::min(names.size(), kNamed); ++i)
        text.append(i == 0 ? "" : ", ").append(names[i]);
    if (names.size() > kNamed)
        text += " and " + std::to_string(names.size() - kNamed) + " more";
    return text;
}

std::string Quoted(std::string_view text) {
    return "\"" + std::string(text) + "\"";
}

std::string NoSuchFormat(IHVDownloadItem const& item, std::string_view wish) {
    std::vector<std::string> codes;
    for (int i = 0; i < item.GetDownloadFormatCount(); ++i)
        if (auto code = item.GetDownloadFormatAtIndex(i)->FormatCode();
            std::find(codes.begin(), codes.end(), code) == codes.end())
            codes.push_back(std::move(code));
    for (auto const& format : item.AllFormats())
        if (auto code = format->FormatCode(); std::find(codes.begin(), codes.end(), code) == codes.end())
            codes.push_back(std::move(code));
    if (codes.empty())
        return "there is no format at all";
    return "there is no format " + Quoted(wish) + "; there are the indices 0 to " +
           std::to_string(item.GetDownloadFormatCount() - 1) + " and the codes " + Listing(codes);
}

/// "1080p60": pixels, and perhaps frames a second.
bool ReadLimits(std::string_view text, HVFormatWish& wish) {
    auto const letter = text.find('p');
    auto const height = WholeNumber(text.substr(0, letter));
    if (letter == std::string_view::npos || !height || *height == 0)
        return false;
    auto const rest = text.substr(letter + 1);
    auto const rate = WholeNumber(rest);
    if (!rest.empty() && (!rate || *rate == 0))
        return false;
    wish.maxHeight = *height;
    wish.maxFramePerSecond = static_cast<float>(rate.value_or(0));
    return true;
}

std::string NothingFor(IHVDownloadItem const& item, HVFormatWish const& wish) {
    std::vector<std::string> found;
    auto const add = [&found](std::string text) {
        if (!text.empty() && std::find(found.begin(), found.end(), text) == found.end())
            found.push_back(std::move(text));
    };
    auto anyLanguage = wish;
    anyLanguage.language.clear();
    bool const noLanguage = item.BestFormat(anyLanguage) != nullptr;
    for (auto const& format : item.AllFormats())
        add(noLanguage            ? format->GetAudioLanguage()
            : format->AudioOnly() ? std::string()
                                  : format->Resolution());
    if (noLanguage)
        return "there is no sound in " + Quoted(wish.language) + "; there are " + Listing(found);
    if (wish.audioOnly)
        return "there is no format with sound only";
    return "there is no format within these limits; there are " + Listing(found);
}

/// An index or a code.
std::shared_ptr<IHVDownloadFormat> Named(IHVDownloadItem const& item, std::string_view wish) {
    constexpr std::string_view kCode = "code:";
    bool const isCode = wish.starts_with(kCode);
    if (auto const index = WholeNumber(wish); !isCode && index && *index < item.GetDownloadFormatCount())
        return item.GetDownloadFormatAtIndex(*index);
    return item.FormatWithCode(std::string(isCode ? wish.substr(kCode.size()) : wish));
}

} // namespace

std::optional<HVFormatWish> WishOf(std::string_view format, HVRequest const& request) {
    HVFormatWish wish;
    wish.language = request.language;
    constexpr std::array<std::string_view, 7> kContainers{"mp4", "mkv", "webm", "m4a", "mp3", "mka", "weba"};
    bool const isContainer =
        std::find(kContainers.begin(), kContainers.end(), request.prefer) != kContainers.end();
    (isContainer ? wish.container : wish.codec) = request.prefer;
    wish.audioOnly = format == "audio";
    wish.worst = format == "worst";
    if (wish.audioOnly || wish.worst || format == "best" || ReadLimits(format, wish))
        return wish;
    return std::nullopt;
}

namespace {

/// Empty where nothing is converted.
std::shared_ptr<IHVConversionOptions const> ConversionOf(HVRequest const& request) {
    return request.options == nullptr ? nullptr : request.options->GetConversionOptions();
}

/// Where the sound alone is wanted, what has a picture as well is taken only where nothing else has sound.
std::shared_ptr<IHVDownloadFormat> Best(IHVDownloadItem const& item, HVFormatWish const& wish,
                                        HVRequest const& request) {
    auto const conversion = ConversionOf(request);
    if (conversion != nullptr && !conversion->GetAudio().empty()) {
        HVFormatWish sound = wish;
        sound.audioOnly = true;
        if (auto format = item.BestFormat(sound))
            return format;
    }
    return item.BestFormat(wish);
}

} // namespace

std::string ChooseFormat(IHVDownloadItem& item, HVRequest const& request) {
    auto const wish = WishOf(request.format, request);
    auto const format = wish ? Best(item, *wish, request) : Named(item, request.format);
    if (format == nullptr)
        return wish && item.Valid() ? NothingFor(item, *wish) : NoSuchFormat(item, request.format);
    // An index says which of several with one code.
    if (auto const index = WholeNumber(request.format);
        !wish && index && *index < item.GetDownloadFormatCount())
        item.SetCurrentFormatIndex(*index);
    else
        item.ChooseFormat(format);
    return {};
}

namespace {

using Subtitles = std::vector<std::shared_ptr<IHVDownloadSubtitle>>;

/// Those of the wished kind, people's first.
Subtitles Offered(IHVDownloadItem& item, std::string_view kind) {
    Subtitles offered;
    for (int i = 0; kind != "machine" && i < item.GetAuthoredSubtitlesCount(); ++i)
        offered.push_back(item.GetAuthoredSubtitleAtIndex(i));
    for (int i = 0; kind != "people" && i < item.GetDownloadSubtitlesCount(); ++i)
        offered.push_back(item.GetDownloadSubtitleAtIndex(i));
    return offered;
}

bool Offers(IHVDownloadSubtitle const& subtitle, std::string const& format) {
    auto const formats = subtitle.GetSubtitleFormats();
    return std::find(formats.begin(), formats.end(), format) != formats.end();
}

/// Appends the one that the wish LANG or LANG.EXT names, and keeps the format. Returns the fault.
std::string Take(Subtitles& chosen, std::string& extension, Subtitles const& offered, std::string_view wish) {
    std::vector<std::string> languages;
    auto const point = wish.rfind('.');
    for (auto const& subtitle : offered) {
        std::string const code = subtitle->GetLanguageCode();
        languages.push_back(code);
        if (code != wish && (point == std::string_view::npos || code != wish.substr(0, point)))
            continue;
        if (code != wish) {
            std::string const format(wish.substr(point + 1));
            if (!Offers(*subtitle, format))
                return std::string("there are no subtitles ")
                    .append(Quoted(wish))
                    .append("; ")
                    .append(code)
                    .append(" comes as ")
                    .append(Listing(subtitle->GetSubtitleFormats()));
            if (!extension.empty() && extension != format)
                return std::string("one format goes for all subtitles: ")
                    .append(extension)
                    .append(" or ")
                    .append(format);
            extension = format;
        }
        chosen.push_back(subtitle);
        return {};
    }
    if (languages.empty())
        return "there are no subtitles";
    std::sort(languages.begin(), languages.end());
    languages.erase(std::unique(languages.begin(), languages.end()), languages.end());
    return "there are no subtitles " + Quoted(wish) + "; there are " + Listing(languages);
}

/// A format that ffmpeg reads, where there is one; the site may list another one first.
void TakeConvertible(IHVDownloadSubtitle& subtitle) {
    for (char const* const format : {"vtt", "srt", "ass", "ttml"})
        if (Offers(subtitle, format)) {
            subtitle.SetCurrentSubtitleFormat(format);
            return;
        }
}

} // namespace

std::string ChooseSubtitles(IHVDownloadItem& item, HVRequest const& request) {
    auto const offered = Offered(item, request.subtitleKind);
    Subtitles chosen;
    std::string extension;
    std::string_view rest = request.subtitle;
    // A site may call a language by a name with a comma.
    if (Take(chosen, extension, offered, rest).empty())
        rest = {};
    for (std::size_t comma = 0; !rest.empty() && comma != std::string_view::npos;) {
        comma = rest.find(',');
        if (std::string fault = Take(chosen, extension, offered, rest.substr(0, comma)); !fault.empty())
            return fault;
        rest.remove_prefix(comma == std::string_view::npos ? rest.size() : comma + 1);
    }
    auto const conversion = ConversionOf(request);
    bool const converts = conversion != nullptr &&
                          (conversion->GetEmbedSubtitles() || !conversion->GetSubtitleFormat().empty());
    for (auto const& subtitle : chosen) {
        if (Offers(*subtitle, extension))
            subtitle->SetCurrentSubtitleFormat(extension);
        else if (converts && extension.empty())
            TakeConvertible(*subtitle);
    }
    // Of the formats the tool takes for each language the first that is on offer.
    std::stable_partition(chosen.begin(), chosen.end(), [&extension](auto const& subtitle) {
        return subtitle->GetCurrentSubtitleFormat() == extension;
    });
    item.SetChosenSubtitles(std::move(chosen));
    return {};
}

std::optional<int> SecondsOf(std::string_view text) {
    constexpr int kMinute = 60;
    constexpr int kMost = 99 * kMinute * kMinute;
    int seconds = 0;
    for (int parts = 1; parts <= 3; ++parts) {
        auto const colon = text.find(':');
        auto const part = WholeNumber(text.substr(0, colon));
        if (!part || *part > kMost || (parts > 1 && *part >= kMinute))
            return {};
        seconds = seconds * kMinute + *part;
        if (colon == std::string_view::npos)
            return seconds <= kMost ? std::optional(seconds) : std::nullopt;
        text.remove_prefix(colon + 1);
    }
    return {};
}

std::optional<int> WholeNumber(std::string_view text) {
    int number = 0;
    auto const [end, fault] = std::from_chars(text.data(), text.data() + text.size(), number);
    bool const whole = fault == std::errc() && end == text.data() + text.size();
    return whole && text[0] != '-' ? std::optional(number) : std::nullopt;
}

namespace {

/// A number that is not 0, from the end where it is negative.
std::optional<int> PlaceOf(std::string_view text) {
    bool const fromEnd = text.starts_with('-');
    auto const number = WholeNumber(text.substr(fromEnd ? 1 : 0));
    if (!number || *number == 0)
        return std::nullopt;
    return fromEnd ? -*number : *number;
}

/// First and last number of "A", "A-", "A-B", "A:", ":B" or "A:B".
std::optional<std::pair<int, int>> RangeOf(std::string_view part) {
    if (auto const colon = part.find(':'); colon != std::string_view::npos) {
        auto const first = colon == 0 ? std::optional(1) : PlaceOf(part.substr(0, colon));
        auto const last = colon + 1 == part.size() ? std::optional(0) : PlaceOf(part.substr(colon + 1));
        return first && last && part.size() > 1 ? std::optional(std::pair(*first, *last)) : std::nullopt;
    }
    auto const dash = part.find('-', 1);
    auto const first = PlaceOf(part.substr(0, dash));
    auto const last = dash == std::string_view::npos ? first
                      : dash + 1 == part.size()      ? std::optional(0)
                                                     : WholeNumber(part.substr(dash + 1));
    bool const range = first && last && (*first > 0 || dash == std::string_view::npos);
    return range ? std::optional(std::pair(*first, *last)) : std::nullopt;
}

bool IsBackward(std::pair<int, int> range) {
    return range.second != 0 && range.second < range.first && (range.first > 0) == (range.second > 0);
}

} // namespace

std::optional<HVItemRanges> HVItemRanges::Parse(std::string_view text) {
    HVItemRanges result;
    while (!text.empty()) {
        auto const comma = text.find(',');
        auto const range = RangeOf(text.substr(0, comma));
        if (!range || IsBackward(*range) || comma + 1 == text.size())
            return std::nullopt;
        result.ranges_.push_back(*range);
        text.remove_prefix(comma == std::string_view::npos ? text.size() : comma + 1);
    }
    return result;
}

bool HVItemRanges::Contains(int item, int count) const {
    auto const fromFront = [count](int end) { return end < 0 ? count + 1 + end : end; };
    return ranges_.empty() || std::any_of(ranges_.begin(), ranges_.end(), [&](auto const& range) {
               if (count == 0 && (range.first < 0 || range.second < 0))
                   return true;
               return fromFront(range.first) <= item &&
                      (range.second == 0 || item <= fromFront(range.second));
           });
}

int HVItemRanges::FirstBeyond(int count) const {
    int beyond = 0;
    for (auto const& [first, last] : ranges_)
        if (std::max(first, last) > count && (beyond == 0 || std::max(first, count + 1) < beyond))
            beyond = std::max(first, count + 1);
    return beyond;
}

} // namespace Halvorn

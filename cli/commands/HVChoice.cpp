#include "HVChoice.h"

#include <algorithm>
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
    if (codes.empty())
        return "there is no format at all";
    return "there is no format " + Quoted(wish) + "; there are the indices 0 to " +
           std::to_string(item.GetDownloadFormatCount() - 1) + " and the codes " + Listing(codes);
}

int FormatIndex(IHVDownloadItem const& item, std::string_view wish) {
    int const count = item.GetDownloadFormatCount();
    if (wish == "best")
        return count > 0 ? 0 : -1;
    if (wish == "audio") {
        for (int i = 0; i < count; ++i)
            if (item.GetDownloadFormatAtIndex(i)->AudioOnly())
                return i;
        return -1;
    }
    constexpr std::string_view kCode = "code:";
    bool const isCode = wish.starts_with(kCode);
    if (auto const index = WholeNumber(wish); !isCode && index && *index < count)
        return *index;
    std::string_view const code = isCode ? wish.substr(kCode.size()) : wish;
    for (int i = 0; i < count; ++i)
        if (item.GetDownloadFormatAtIndex(i)->FormatCode() == code)
            return i;
    return -1;
}

} // namespace

std::string ChooseFormat(IHVDownloadItem& item, std::string_view wish) {
    int const index = FormatIndex(item, wish);
    if (index < 0)
        return wish == "audio" && item.Valid() ? "there is no format with sound only"
                                               : NoSuchFormat(item, wish);
    item.SetCurrentFormatIndex(index);
    return {};
}

std::string ChooseSubtitle(IHVDownloadItem& item, std::string_view wish) {
    std::vector<std::string> languages;
    auto const point = wish.rfind('.');
    for (int i = 0; i < item.GetDownloadSubtitlesCount(); ++i) {
        auto const subtitle = item.GetDownloadSubtitleAtIndex(i);
        std::string const code = subtitle->GetLanguageCode();
        languages.push_back(code);
        auto const formats = subtitle->GetSubtitleFormats();
        if (code != wish && (point == std::string_view::npos || code != wish.substr(0, point)))
            continue;
        if (code != wish) {
            std::string const format(wish.substr(point + 1));
            if (std::find(formats.begin(), formats.end(), format) == formats.end())
                return "there are no subtitles " + Quoted(wish) + "; " + code + " comes as " +
                       Listing(formats);
            subtitle->SetCurrentSubtitleFormat(format);
        }
        item.SetCurrentSubtitleIndex(i);
        return {};
    }
    if (languages.empty())
        return "there are no subtitles";
    std::sort(languages.begin(), languages.end());
    return "there are no subtitles " + Quoted(wish) + "; there are " + Listing(languages);
}

std::optional<int> WholeNumber(std::string_view text) {
    int number = 0;
    auto const [end, fault] = std::from_chars(text.data(), text.data() + text.size(), number);
    bool const whole = fault == std::errc() && end == text.data() + text.size();
    return whole && text[0] != '-' ? std::optional(number) : std::nullopt;
}

std::optional<HVItemRanges> HVItemRanges::Parse(std::string_view text) {
    HVItemRanges result;
    if (text.empty())
        return result;
    for (;;) {
        auto const comma = text.find(',');
        std::string_view const part = text.substr(0, comma);
        auto const dash = part.find('-');
        auto const first = WholeNumber(part.substr(0, dash));
        bool const open = dash != std::string_view::npos && dash + 1 == part.size();
        auto const last = dash == std::string_view::npos ? first
                          : open                         ? std::optional(0)
                                                         : WholeNumber(part.substr(dash + 1));
        if (!first || !last || *first < 1 || (!open && *last < *first))
            return std::nullopt;
        result.ranges_.emplace_back(*first, *last);
        if (comma == std::string_view::npos)
            return result;
        text.remove_prefix(comma + 1);
    }
}

bool HVItemRanges::Contains(int item) const {
    return ranges_.empty() || std::any_of(ranges_.begin(), ranges_.end(), [item](auto const& range) {
               return range.first <= item && (range.second == 0 || item <= range.second);
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

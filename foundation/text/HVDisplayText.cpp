#include "HVDisplayText.h"

#include "HVUtf8.h"

#include <algorithm>
#include <array>

namespace Halvorn {

namespace {

struct Range {
    char32_t first;
    char32_t last;
};

// Sorted. Characters that take two columns of a terminal.
constexpr std::array kWide{
    Range{0x1100, 0x115F},   Range{0x231A, 0x231B},   Range{0x2329, 0x232A},   Range{0x23E9, 0x23EC},
    Range{0x23F0, 0x23F0},   Range{0x23F3, 0x23F3},   Range{0x25FD, 0x25FE},   Range{0x2614, 0x2615},
    Range{0x2648, 0x2653},   Range{0x267F, 0x267F},   Range{0x2693, 0x2693},   Range{0x26A1, 0x26A1},
    Range{0x26AA, 0x26AB},   Range{0x26BD, 0x26BE},   Range{0x26C4, 0x26C5},   Range{0x26CE, 0x26CE},
    Range{0x26D4, 0x26D4},   Range{0x26EA, 0x26EA},   Range{0x26F2, 0x26F3},   Range{0x26F5, 0x26F5},
    Range{0x26FA, 0x26FA},   Range{0x26FD, 0x26FD},   Range{0x2705, 0x2705},   Range{0x270A, 0x270B},
    Range{0x2728, 0x2728},   Range{0x274C, 0x274C},   Range{0x274E, 0x274E},   Range{0x2753, 0x2755},
    Range{0x2757, 0x2757},   Range{0x2795, 0x2797},   Range{0x27B0, 0x27B0},   Range{0x27BF, 0x27BF},
    Range{0x2B1B, 0x2B1C},   Range{0x2B50, 0x2B50},   Range{0x2B55, 0x2B55},   Range{0x2E80, 0x303E},
    Range{0x3041, 0x3098},   Range{0x309B, 0xA4CF},   Range{0xA960, 0xA97F},   Range{0xAC00, 0xD7A3},
    Range{0xF900, 0xFAFF},   Range{0xFE10, 0xFE19},   Range{0xFE30, 0xFE6F},   Range{0xFF00, 0xFF60},
    Range{0xFFE0, 0xFFE6},   Range{0x16FE0, 0x18DFF}, Range{0x1B000, 0x1B2FF}, Range{0x1F004, 0x1F004},
    Range{0x1F0CF, 0x1F0CF}, Range{0x1F18E, 0x1F18E}, Range{0x1F191, 0x1F19A}, Range{0x1F200, 0x1F64F},
    Range{0x1F680, 0x1F6FF}, Range{0x1F7E0, 0x1F7F0}, Range{0x1F900, 0x1FAFF}, Range{0x20000, 0x3FFFD}};

// Sorted. Characters that are drawn over the one before them, or not at all.
constexpr std::array kNarrow{Range{0x0300, 0x036F}, Range{0x0483, 0x0489}, Range{0x0591, 0x05BD},
                             Range{0x0610, 0x061A}, Range{0x064B, 0x065F}, Range{0x06D6, 0x06DC},
                             Range{0x0900, 0x0902}, Range{0x093C, 0x093C}, Range{0x0941, 0x0948},
                             Range{0x094D, 0x094D}, Range{0x0E31, 0x0E31}, Range{0x0E34, 0x0E3A},
                             Range{0x0E47, 0x0E4E}, Range{0x1AB0, 0x1AFF}, Range{0x1DC0, 0x1DFF},
                             Range{0x200B, 0x200D}, Range{0x20D0, 0x20FF}, Range{0x3099, 0x309A},
                             Range{0xFE00, 0xFE0F}, Range{0xFE20, 0xFE2F}, Range{0xE0100, 0xE01EF}};

template <std::size_t Count>
bool Contains(std::array<Range, Count> const& ranges, char32_t character) {
    auto const found = std::lower_bound(ranges.begin(), ranges.end(), character,
                                        [](Range const& range, char32_t c) { return range.last < c; });
    return found != ranges.end() && found->first <= character;
}

constexpr std::string_view kReplacementText = "\xEF\xBF\xBD";
constexpr std::string_view kEllipsis = "\xE2\x80\xA6";

std::size_t Width(char32_t character) {
    return Contains(kNarrow, character) ? 0 : Contains(kWide, character) ? 2 : 1;
}

/// Finds where the control sequences of one text end, from its front to its back.
class SequenceEnds {
public:
    explicit SequenceEnds(std::string_view text) : text_(text) {}

    /// Length of the sequence at `begin`, where an escape character stands.
    std::size_t LengthAt(std::size_t begin) {
        char const kind = begin + 1 < text_.size() ? text_[begin + 1] : '\0';
        if (kind == '[') {
            std::size_t end = begin + 2;
            while (end < LimitOf(begin) && text_[end] >= 0x20 && text_[end] <= 0x3F)
                ++end;
            return std::min(end + 1, LimitOf(begin)) - begin;
        }
        if (kind == ']' || kind == 'P' || kind == 'X' || kind == '^' || kind == '_') {
            std::size_t const end = FindTerminator(begin + 2, LimitOf(begin));
            // Without an end, what follows is shown rather than hidden.
            return end == std::string_view::npos ? 2 : end - begin;
        }
        return kind >= 0x20 && kind < 0x7F ? 2 : 1;
    }

private:
    std::size_t LimitOf(std::size_t begin) const {
        constexpr std::size_t kLongestSequence = 4096;
        return std::min(text_.size(), begin + kLongestSequence);
    }
    /// Behind the first bell or string terminator. A text of nothing but beginnings has each byte looked at
    /// once, not once for each beginning.
    std::size_t FindTerminator(std::size_t from, std::size_t limit) {
        for (std::size_t at = std::max(from, searched_); at < limit; ++at) {
            if (text_[at] == '\a')
                return at + 1;
            if (text_[at] == '\x1b' && at + 1 < limit && text_[at + 1] == '\\')
                return at + 2;
            searched_ = at;
        }
        return std::string_view::npos;
    }

    std::string_view text_;
    std::size_t searched_ = 0; ///< no terminator begins between the last begin and here
};

bool TurnsDirection(char32_t c) {
    return c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x202A && c <= 0x202E) ||
           (c >= 0x2066 && c <= 0x2069) || c == 0xFEFF;
}

} // namespace

std::string ValidText(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        HVUtf8Piece const next = ReadUtf8(text);
        result += next.valid ? text.substr(0, next.length) : kReplacementText;
        text.remove_prefix(next.length);
    }
    return result;
}

std::string PlainLine(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    SequenceEnds ends(text);
    for (std::size_t at = 0, length = 0; at < text.size(); at += length) {
        HVUtf8Piece const next = ReadUtf8(text.substr(at));
        length = next.length;
        char32_t const c = next.character;
        if (!next.valid)
            result += kReplacementText;
        else if (c == 0x1B)
            length = ends.LengthAt(at);
        else if (c == '\n' || c == '\t' || c == '\r' || c == 0x2028 || c == 0x2029)
            result += ' ';
        else if (c >= 0x20 && (c < 0x7F || c > 0x9F) && !TurnsDirection(c))
            result += text.substr(at, length);
    }
    return result;
}

std::size_t DisplayWidth(std::string_view text) {
    std::size_t columns = 0;
    while (!text.empty()) {
        HVUtf8Piece const next = ReadUtf8(text);
        columns += Width(next.character);
        text.remove_prefix(next.length);
    }
    return columns;
}

std::string CutToWidth(std::string_view text, std::size_t columns) {
    if (DisplayWidth(text) <= columns)
        return std::string(text);
    if (columns == 0)
        return {};
    std::size_t used = 0;
    std::size_t length = 0;
    while (length < text.size()) {
        HVUtf8Piece const next = ReadUtf8(text.substr(length));
        std::size_t const width = Width(next.character);
        if (used + width > columns - 1)
            break;
        used += width;
        length += next.length;
    }
    return std::string(text.substr(0, length)).append(kEllipsis);
}

std::string FitToWidth(std::string_view text, std::size_t columns) {
    std::string result = CutToWidth(text, columns);
    result.append(columns - std::min(columns, DisplayWidth(result)), ' ');
    return result;
}

} // namespace Halvorn

#include "HVJsonRepair.h"

#include <algorithm>
#include <string_view>

namespace Halvorn {

namespace {

enum class Escape { Other, High, Low };

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool IsHexDigit(char c) {
    char const lower = static_cast<char>(c | 0x20);
    return IsDigit(c) || (lower >= 'a' && lower <= 'f');
}

/// What the six characters at `pos` are: the escape of half a surrogate pair, or something else.
Escape KindAt(std::string_view text, std::size_t pos) {
    std::string_view const escape = text.substr(std::min(pos, text.size()), 6);
    if (escape.size() < 6 || !escape.starts_with("\\u") || (escape[2] | 0x20) != 'd' ||
        !std::all_of(escape.begin() + 3, escape.end(), IsHexDigit))
        return Escape::Other;
    char const third = static_cast<char>(escape[3] | 0x20);
    if (third < '8')
        return Escape::Other;
    return third == '8' || third == '9' || third == 'a' || third == 'b' ? Escape::High : Escape::Low;
}

/// Length of the escape at `pos`, both halves where it is a whole surrogate pair; `lone` tells half of one.
std::size_t EscapeLength(std::string_view text, std::size_t pos, bool& lone) {
    Escape const kind = KindAt(text, pos);
    bool const pair = kind == Escape::High && KindAt(text, pos + 6) == Escape::Low;
    lone = kind != Escape::Other && !pair;
    return pair ? 12 : lone ? 6 : 2;
}

/// Mends the string that begins at the quotation mark at `pos`; returns the position behind it.
std::size_t MendString(std::string& text, std::size_t pos) {
    for (++pos; pos < text.size() && text[pos] != '"';) {
        if (text[pos] != '\\') {
            ++pos;
            continue;
        }
        bool lone = false;
        std::size_t const length = EscapeLength(text, pos, lone);
        if (lone)
            text.replace(pos, length, "\\ufffd");
        pos += length;
    }
    return std::min(pos + 1, text.size());
}

std::size_t SkipDigits(std::string_view text, std::size_t pos) {
    while (pos < text.size() && IsDigit(text[pos]))
        ++pos;
    return pos;
}

/// Position behind the number that begins at `pos`; `pos` itself when there is none of JSON's form.
std::size_t NumberEnd(std::string_view text, std::size_t pos) {
    std::size_t const start = pos + (text[pos] == '-' ? 1 : 0);
    std::size_t end = SkipDigits(text, start);
    if (end == start || (text[start] == '0' && end > start + 1))
        return pos;
    auto const digitsBehind = [&](std::size_t mark) {
        std::size_t const digits = SkipDigits(text, mark);
        end = digits > mark ? digits : end;
    };
    if (end < text.size() && text[end] == '.')
        digitsBehind(end + 1);
    if (end < text.size() && (text[end] | 0x20) == 'e') {
        bool const sign = end + 1 < text.size() && (text[end + 1] == '+' || text[end + 1] == '-');
        digitsBehind(end + (sign ? 2 : 1));
    }
    // Something else that begins with a number is none.
    bool const alone =
        end >= text.size() || std::string_view("+-.eE").find(text[end]) == std::string_view::npos;
    return alone ? end : pos;
}

/// Power of ten just above a number; at most about a million, which is far beyond any type.
long Magnitude(std::string_view number) {
    std::size_t const first = number.find_first_not_of("-0");
    std::size_t const mark = std::min(number.find_first_of(".eE"), number.size());
    long const digits = first < mark ? static_cast<long>(mark - first) : 0;
    std::size_t pos = number.find_first_of("eE");
    if (pos == std::string_view::npos)
        return digits;
    bool const negative = number[++pos] == '-';
    long exponent = 0;
    for (; pos < number.size() && exponent < 100'000; ++pos)
        if (IsDigit(number[pos]))
            exponent = exponent * 10 + (number[pos] - '0');
    return digits + (negative ? -exponent : exponent);
}

} // namespace

bool MayHoldLoneSurrogate(std::string const& text) {
    bool lone = false;
    for (std::size_t pos = text.find('\\'); pos != std::string::npos && !lone;)
        pos = text.find('\\', pos + EscapeLength(text, pos, lone));
    return lone;
}

std::string RepairJson(std::string text) {
    constexpr long kTooLarge = 300;
    for (std::size_t pos = 0; pos < text.size();) {
        if (text[pos] == '"') {
            pos = MendString(text, pos);
        } else if (!IsDigit(text[pos]) && text[pos] != '-') {
            ++pos;
        } else if (std::size_t const end = NumberEnd(text, pos); end > pos) {
            // Too large a number has more than four characters.
            if (Magnitude(std::string_view(text).substr(pos, end - pos)) > kTooLarge)
                text.replace(pos, end - pos, "null" + std::string(end - pos - 4, ' '));
            pos = end;
        } else {
            pos = std::min(text.find_first_not_of("0123456789+-.eE", pos), text.size());
        }
    }
    return text;
}

} // namespace Halvorn

#include "HVJsonRepair.h"

#include <cstring>

namespace Halvorn {

namespace {

enum class Escape { Other, High, Low };

/// What the six characters at `pos` are: the escape of half a surrogate pair, or something else.
Escape KindAt(std::string const& text, std::size_t pos) {
    if (pos + 6 > text.size() || text[pos] != '\\' || text[pos + 1] != 'u' || (text[pos + 2] | 0x20) != 'd')
        return Escape::Other;
    char const third = static_cast<char>(text[pos + 3] | 0x20);
    if (third == '8' || third == '9' || third == 'a' || third == 'b')
        return Escape::High;
    return third >= 'c' && third <= 'f' ? Escape::Low : Escape::Other;
}

/// Appends the string that begins at the quotation mark at `pos`; returns the position behind it.
std::size_t CopyString(std::string const& text, std::size_t pos, std::string& out) {
    std::size_t from = pos++;
    while (pos < text.size() && text[pos] != '"') {
        if (text[pos] != '\\') {
            ++pos;
            continue;
        }
        Escape const kind = KindAt(text, pos);
        if (kind == Escape::High && KindAt(text, pos + 6) == Escape::Low) {
            pos += 12;
        } else if (kind == Escape::Other) {
            pos += 2;
        } else {
            out.append(text, from, pos - from);
            out += "\\ufffd";
            pos += 6;
            from = pos;
        }
    }
    pos = pos < text.size() ? pos + 1 : text.size();
    out.append(text, from, pos - from);
    return pos;
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

/// Power of ten just above a number's text; at most about a million, which is far beyond any type.
long Magnitude(std::string const& text, std::size_t pos, std::size_t end) {
    long digits = 0;
    while (pos < end && (IsDigit(text[pos]) || text[pos] == '-')) {
        if (digits > 0 || (text[pos] != '-' && text[pos] != '0'))
            ++digits;
        ++pos;
    }
    while (pos < end && (text[pos] | 0x20) != 'e')
        ++pos;
    if (pos >= end)
        return digits;
    bool const negative = ++pos < end && text[pos] == '-';
    long exponent = 0;
    for (; pos < end && exponent < 100000; ++pos) {
        if (IsDigit(text[pos]))
            exponent = exponent * 10 + (text[pos] - '0');
    }
    return digits + (negative ? -exponent : exponent);
}

} // namespace

bool MayHoldLoneSurrogate(std::string const& text) {
    for (std::size_t pos = text.find('\\'); pos != std::string::npos; pos = text.find('\\', pos)) {
        Escape const kind = KindAt(text, pos);
        if (kind == Escape::Low || (kind == Escape::High && KindAt(text, pos + 6) != Escape::Low))
            return true;
        pos += kind == Escape::High ? 12 : 1;
    }
    return false;
}

std::string RepairJson(std::string const& text) {
    constexpr long tooLarge = 300;
    std::string out;
    out.reserve(text.size());
    for (std::size_t pos = 0; pos < text.size();) {
        if (text[pos] == '"') {
            pos = CopyString(text, pos, out);
            continue;
        }
        std::size_t end = pos;
        if (IsDigit(text[pos]) || text[pos] == '-') {
            while (end < text.size() && std::strchr("0123456789+-.eE", text[end]) != nullptr &&
                   text[end] != '\0')
                ++end;
        }
        if (end == pos) {
            out += text[pos++];
        } else {
            if (Magnitude(text, pos, end) > tooLarge)
                out += "null";
            else
                out.append(text, pos, end - pos);
            pos = end;
        }
    }
    return out;
}

} // namespace Halvorn

#include "HVUtf8.h"

namespace Halvorn {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

/// The code point at the start of `text` and its length, which is 0 when none begins there.
std::size_t ReadCodePoint(std::string_view text, char32_t& result) {
    auto const byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    unsigned char const lead = byte(0);
    if (lead < 0x80) {
        result = lead;
        return 1;
    }
    std::size_t const length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < length)
        return 0;
    result = lead & (0xFFU >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80)
            return 0;
        result = (result << 6) | (byte(i) & 0x3FU);
    }
    // Longer than need be, half of a surrogate pair, or beyond the last code point.
    bool const bad =
        Utf8Length(result) != length || (result >= 0xD800 && result < 0xE000) || result > 0x10FFFF;
    return bad ? 0 : length;
}

} // namespace

std::size_t Utf8Length(char32_t c) {
    return c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
}

std::u32string DecodeUtf8(std::string_view text) {
    std::u32string result;
    while (!text.empty()) {
        char32_t c = kReplacement;
        std::size_t const length = ReadCodePoint(text, c);
        result += length == 0 ? kReplacement : c;
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return result;
}

std::string EncodeUtf8(std::u32string_view text) {
    std::string result;
    for (char32_t const c : text) {
        std::size_t const length = Utf8Length(c);
        if (length == 1) {
            result += static_cast<char>(c);
            continue;
        }
        static constexpr unsigned char leads[] = {0, 0, 0xC0, 0xE0, 0xF0};
        result += static_cast<char>(leads[length] | (c >> (6 * (length - 1))));
        for (std::size_t i = length - 1; i-- > 0;)
            result += static_cast<char>(0x80 | ((c >> (6 * i)) & 0x3F));
    }
    return result;
}

} // namespace Halvorn

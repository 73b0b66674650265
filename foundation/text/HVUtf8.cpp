#include "HVUtf8.h"

namespace Halvorn {

HVUtf8Piece ReadUtf8(std::string_view text) {
    constexpr HVUtf8Piece kFaulty{0xFFFD, 1, false};
    auto const byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    unsigned char const lead = byte(0);
    if (lead < 0x80)
        return {lead, 1, true};
    std::size_t const length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < length)
        return kFaulty;
    char32_t character = lead & (0xFFU >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80)
            return kFaulty;
        character = (character << 6) | (byte(i) & 0x3FU);
    }
    // Longer than need be, half of a surrogate pair, or beyond the last code point.
    bool const bad = Utf8Length(character) != length || (character >= 0xD800 && character < 0xE000) ||
                     character > 0x10FFFF;
    return bad ? kFaulty : HVUtf8Piece{character, length, true};
}

std::size_t Utf8Length(char32_t c) {
    return c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
}

std::size_t Utf8Offset(std::string_view text, std::size_t number) {
    std::size_t offset = 0;
    for (; number > 0 && offset < text.size(); --number)
        offset += ReadUtf8(text.substr(offset)).length;
    return offset + number;
}

std::u32string DecodeUtf8(std::string_view text) {
    std::u32string result;
    while (!text.empty()) {
        HVUtf8Piece const next = ReadUtf8(text);
        result += next.character;
        text.remove_prefix(next.length);
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
        static constexpr unsigned char kLeads[] = {0, 0, 0xC0, 0xE0, 0xF0};
        result += static_cast<char>(kLeads[length] | (c >> (6 * (length - 1))));
        for (std::size_t i = length - 1; i-- > 0;)
            result += static_cast<char>(0x80 | ((c >> (6 * i)) & 0x3F));
    }
    return result;
}

} // namespace Halvorn

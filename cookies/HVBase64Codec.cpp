#include "IHVBase64Codec.h"

#include <algorithm>
#include <cstdint>

namespace Halvorn {

namespace {

/// The six bits of a digit; -1 for any other character.
int DigitValue(char c) {
    if (c >= 'A' && c <= 'Z')
        return c - 'A';
    if (c >= 'a' && c <= 'z')
        return c - 'a' + 26;
    if (c >= '0' && c <= '9')
        return c - '0' + 52;
    if (c == '+')
        return 62;
    return c == '/' ? 63 : -1;
}

bool IsWhiteSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

} // namespace

std::string IHVBase64Codec::Decode(std::string_view text) {
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3 + 2);
    std::uint32_t bits = 0;
    std::size_t digits = 0;
    std::size_t padding = 0;
    for (char const c : text) {
        if (IsWhiteSpace(c))
            continue;
        if (c == '=') {
            ++padding;
            continue;
        }
        int const value = DigitValue(c);
        if (value < 0 || padding > 0)
            return {};
        bits = bits << 6U | static_cast<std::uint32_t>(value);
        // The first digit of each four completes no byte, each of the others completes one.
        if (auto const place = digits++ % 4; place > 0)
            bytes += static_cast<char>(bits >> (6 - 2 * place) & 0xFFU);
    }
    // One digit alone is no byte; padding may be left out, but where it stands it has to be right.
    if (digits % 4 == 1 || (padding > 0 && (digits + padding) % 4 != 0) || padding > 2)
        return {};
    return bytes;
}

std::string IHVBase64Codec::Encode(std::string_view bytes) {
    constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t begin = 0; begin < bytes.size(); begin += 3) {
        std::size_t const count = std::min<std::size_t>(bytes.size() - begin, 3);
        std::uint32_t bits = 0;
        for (std::size_t i = 0; i < 3; ++i)
            bits = bits << 8U | (i < count ? static_cast<unsigned char>(bytes[begin + i]) : 0U);
        for (std::size_t i = 0; i < 4; ++i)
            text += i <= count ? kDigits[bits >> (18 - 6 * i) & 63U] : '=';
    }
    return text;
}

} // namespace Halvorn

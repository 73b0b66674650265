#pragma once
// UTF-8 and code points. Pure; any thread.

#include <string>
#include <string_view>

namespace Halvorn {

/// What a text begins with: a character, or one byte that is part of none and stands for U+FFFD.
struct HVUtf8Piece {
    char32_t character;
    std::size_t length; ///< in bytes
    bool valid;
};

/// The front of `text`, which is not empty.
HVUtf8Piece ReadUtf8(std::string_view text);

/// The code points of `text`; each byte that is part of none becomes U+FFFD.
std::u32string DecodeUtf8(std::string_view text);
std::string EncodeUtf8(std::u32string_view text);
/// Where the code point of this number begins in the text, in bytes: columns are padded by code points.
/// Beyond the end the numbers go on.
std::size_t Utf8Offset(std::string_view text, std::size_t number);
/// Number of bytes that the code point takes.
std::size_t Utf8Length(char32_t c);

} // namespace Halvorn

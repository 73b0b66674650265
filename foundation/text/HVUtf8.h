#pragma once
// UTF-8 and code points.

#include <string>
#include <string_view>

namespace Halvorn {

/// The code points of `text`; each byte that is part of none becomes U+FFFD.
std::u32string DecodeUtf8(std::string_view text);
std::string EncodeUtf8(std::u32string_view text);
/// Number of bytes that the code point takes.
std::size_t Utf8Length(char32_t c);

} // namespace Halvorn

#pragma once
// Base64 by the standard alphabet (RFC 4648, section 4).

#include <string>
#include <string_view>

namespace Halvorn {

class IHVBase64Codec {
public:
    /// The decoded bytes. White space is skipped, padding may be missing; a text with any other foreign
    /// character decodes to nothing.
    static std::string Decode(std::string_view text);
    /// In one line, with padding.
    static std::string Encode(std::string_view bytes);
};

} // namespace Halvorn

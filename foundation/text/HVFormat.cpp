#include "HVFormat.h"

#include <cstring>
#include <string_view>

namespace Halvorn {

namespace {

/// Length of the conversion that begins at the "%" at `at`, or 0 when there is no complete one.
std::size_t ConversionLength(std::string_view format, std::size_t at) {
    auto skip = [&](std::size_t from, char const* set) {
        while (from < format.size() && std::strchr(set, format[from]) != nullptr)
            ++from;
        return from;
    };
    std::size_t pos = skip(at + 1, "-+ #0");
    pos = skip(pos, "0123456789*");
    if (pos < format.size() && format[pos] == '.')
        pos = skip(pos + 1, "0123456789*");
    pos = skip(pos, "hlLjzt");
    if (pos >= format.size() || std::strchr("diouxXeEfFgGaAcsp%", format[pos]) == nullptr)
        return 0;
    return pos + 1 - at;
}

} // namespace

std::string EscapeIncompleteConversions(char const* format) {
    std::string_view const text(format);
    std::string result;
    result.reserve(text.size() + 8);
    for (std::size_t pos = 0; pos < text.size();) {
        std::size_t length = 1;
        if (text[pos] == '%') {
            length = ConversionLength(text, pos);
            if (length == 0) {
                result += "%%";
                ++pos;
                continue;
            }
        }
        result.append(text, pos, length);
        pos += length;
    }
    return result;
}

} // namespace Halvorn

#include "HVFormat.h"

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace Halvorn {

std::string FormatText(char const* format, va_list args) {
    if (format == nullptr)
        return {};
    std::string const safe = EscapeIncompleteConversions(format);
    // Not measured first: that takes seconds for a text of hundreds of megabytes, which a tool may well
    // print.
    char* bytes = nullptr;
    int const length = vasprintf(&bytes, safe.c_str(), args);
    std::unique_ptr<char, decltype(&std::free)> const owner(length < 0 ? nullptr : bytes, &std::free);
    return owner == nullptr ? std::string() : std::string(bytes, static_cast<std::size_t>(length));
}

} // namespace Halvorn

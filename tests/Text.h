#pragma once
// Several answers as one text, so that one comparison tells them all.

#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace Halvorn {

/// The values with a bar between them.
template <typename... Values>
std::string Text(Values const&... values) {
    std::ostringstream text;
    char const* bar = "";
    ((text << std::exchange(bar, "|") << values), ...);
    return text.str();
}

/// What goes in, and the text that comes out.
using Rows = std::vector<std::pair<std::string, std::string>>;

} // namespace Halvorn

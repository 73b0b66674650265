#include "HVOptionChecks.h"

namespace Halvorn {

std::string NotEmpty(std::string const& value) {
    return value.empty() ? "the value is empty" : "";
}

std::string PathLike(std::string const& value) {
    if (value.starts_with('-'))
        return "the value \"" + value + "\" begins with \"-\" like an option";
    if (value.starts_with('='))
        return "the value \"" + value + "\" begins with \"=\"; write -o DIR or --output=DIR";
    return NotEmpty(value);
}

} // namespace Halvorn

#pragma once
// Checks of single values, as the parser of the command line takes them: each returns the fault, or an empty
// text.

#include <string>

namespace Halvorn {

/// For options whose empty value would read like none.
std::string NotEmpty(std::string const& value);
/// For paths: "--output --quiet" is meant otherwise. "./--quiet" names such a folder.
std::string PathLike(std::string const& value);

} // namespace Halvorn

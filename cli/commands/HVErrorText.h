#pragma once
// What the tool printed about a failure, as one line for a person.

#include <string>

namespace Halvorn {

/// The tool's own words without its marks ("err:", "ERROR:"), the lines joined by "; ". Where the tool says
/// what the fault was, its warnings are left out.
std::string OneLineFault(std::string const& message);

} // namespace Halvorn

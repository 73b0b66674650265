#pragma once
// Completions of the command line for the shells.

#include "HVCommandDescription.h"

#include <string>

namespace Halvorn {

// Each is the text of the file that the shell loads.
std::string BashCompletion(HVCommandDescription const& program);
std::string ZshCompletion(HVCommandDescription const& program);
std::string FishCompletion(HVCommandDescription const& program);

} // namespace Halvorn

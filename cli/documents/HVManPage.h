#pragma once
// The manual page reelhaul(1).

#include "HVCommandDescription.h"

#include <string>

namespace Halvorn {

/// The page in the language of man(7). `footer` is what the help says after the commands: paragraphs with a
/// heading of one line each.
std::string ManPage(HVCommandDescription const& program, std::string const& footer);

} // namespace Halvorn

#pragma once
// The folder that files are to go into.

#include <string>

namespace Halvorn {

/// Makes the folder, with those above it, where it is missing. Returns why files can't go into it; empty when
/// they can.
std::string MakeFolder(std::string const& folder);

} // namespace Halvorn

#pragma once
// Folders that are made with their permissions, not given them afterwards.

#include <string>
#include <system_error>

namespace Halvorn {

/// Makes the folder, and those above it that are missing, with at most these permissions. What is there
/// already is left as it is.
std::error_code MakeNewFolder(std::string const& folder, unsigned int mode);

} // namespace Halvorn

#pragma once
// Where this system has programs keep what they remember.

#include <string>

namespace Halvorn {

/// The command's own folder there; empty where the user has no home folder. It need not exist.
std::string StateFolder();

} // namespace Halvorn

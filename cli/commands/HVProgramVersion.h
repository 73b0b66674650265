#pragma once
// What a program says about its version, which also tells whether it runs at all.

#include <string>

namespace Halvorn {

struct HVProgramVersion {
    std::string line;  ///< the first line that it prints
    std::string fault; ///< why there is none; else empty
};

/// Runs the program with one argument. Blocks while it runs; after 20 s it is ended with all that it has
/// started. May be called from several threads at once.
HVProgramVersion AskVersion(std::string const& path, std::string const& argument);

} // namespace Halvorn

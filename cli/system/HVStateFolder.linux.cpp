#include "HVStateFolder.h"

#include <cstdlib>

namespace Halvorn {

std::string StateFolder() {
    char const* const state = std::getenv("XDG_STATE_HOME");
    // A relative path there is to be ignored, by the convention that defines it.
    if (state != nullptr && *state == '/')
        return std::string(state) + "/reelhaul";
    char const* const home = std::getenv("HOME");
    return home == nullptr || *home == '\0' ? std::string() : std::string(home) + "/.local/state/reelhaul";
}

} // namespace Halvorn

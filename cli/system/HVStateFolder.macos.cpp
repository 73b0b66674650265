#include "HVStateFolder.h"

#include <cstdlib>

namespace Halvorn {

std::string StateFolder() {
    char const* const home = std::getenv("HOME");
    return home == nullptr || *home == '\0' ? std::string()
                                            : std::string(home) + "/Library/Application Support/reelhaul";
}

} // namespace Halvorn

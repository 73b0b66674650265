#include "HVAppSettings.h"
#include "IHVFileProvider.h"

#include <cstdlib>

namespace Halvorn {

std::string SettingsFolder() {
    char const* const config = std::getenv("XDG_CONFIG_HOME");
    // A relative path there is to be ignored, by the convention that defines it.
    if (config != nullptr && *config == '/')
        return IHVFileProvider::AppendPathComponent(config, "reelhaul");
    char const* const home = std::getenv("HOME");
    if (home == nullptr || *home == '\0')
        return {};
    return IHVFileProvider::AppendPathComponent(home, ".config/reelhaul");
}

} // namespace Halvorn

#include "HVAppSettings.h"
#include "IHVFileProvider.h"

#include <cstdlib>

namespace Halvorn {

std::string SettingsFolder() {
    char const* const home = std::getenv("HOME");
    if (home == nullptr || *home == '\0')
        return {};
    return IHVFileProvider::AppendPathComponent(home, "Library/Application Support/reelhaul");
}

} // namespace Halvorn

#include "HVFolder.h"

#include <filesystem>
#include <system_error>
#include <unistd.h>

namespace Halvorn {

std::string MakeFolder(std::string const& folder) {
    std::error_code fault;
    if (std::filesystem::exists(folder, fault) && !std::filesystem::is_directory(folder, fault))
        return folder + " is no folder";
    std::filesystem::create_directories(folder, fault);
    if (fault)
        return "can't make the folder " + folder + ": " + fault.message();
    if (access(folder.c_str(), W_OK | X_OK) != 0)
        return "can't write into the folder " + folder;
    return {};
}

} // namespace Halvorn

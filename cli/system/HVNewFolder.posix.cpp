#include "HVNewFolder.h"

#include <cerrno>
#include <filesystem>

#include <sys/stat.h>

namespace Halvorn {

std::error_code MakeNewFolder(std::string const& folder, unsigned int mode) {
    std::filesystem::path path;
    for (auto const& part : std::filesystem::path(folder)) {
        path /= part;
        // What is there may refuse in other ways than EEXIST: a file system that can only be read, for one.
        if (path.empty() || mkdir(path.c_str(), static_cast<mode_t>(mode)) == 0)
            continue;
        std::error_code const fault(errno, std::generic_category());
        std::error_code ignored;
        if (!std::filesystem::is_directory(path, ignored))
            return fault;
    }
    return {};
}

} // namespace Halvorn

#include "HVOwnProcess.h"

#include <climits>
#include <unistd.h>

namespace Halvorn {

std::string CurrentFolder() {
    char path[PATH_MAX];
    return getcwd(path, sizeof path) == nullptr ? std::string() : std::string(path);
}

std::string UserIdentity() {
    return std::to_string(getuid()) + ' ' + std::to_string(geteuid()) + ' ' + std::to_string(getgid()) + ' ' +
           std::to_string(getegid());
}

} // namespace Halvorn

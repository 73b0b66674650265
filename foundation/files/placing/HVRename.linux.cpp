#include "HVRename.h"

#include <cerrno>
#include <cstdio>

#include <fcntl.h>

namespace Halvorn {

int RenameExclusive(std::string const& source, std::string const& target) {
    return renameat2(AT_FDCWD, source.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0 ? 0 : errno;
}

} // namespace Halvorn

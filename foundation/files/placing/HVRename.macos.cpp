#include "HVRename.h"

#include <cerrno>

#include <stdio.h>

namespace Halvorn {

int RenameExclusive(std::string const& source, std::string const& target) {
    return renamex_np(source.c_str(), target.c_str(), RENAME_EXCL) == 0 ? 0 : errno;
}

} // namespace Halvorn

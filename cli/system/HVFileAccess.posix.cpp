#include "HVFileAccess.h"

#include <unistd.h>

namespace Halvorn {

bool CanRead(std::string const& path) {
    return access(path.c_str(), R_OK) == 0;
}

bool CanRun(std::string const& path) {
    return access(path.c_str(), X_OK) == 0;
}

bool CanWriteInto(std::string const& folder) {
    return access(folder.c_str(), W_OK | X_OK) == 0;
}

} // namespace Halvorn

#include "HVOwnProcess.h"

#include "IHVFileProvider.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Halvorn {

int CurrentUmask() {
    // The system tells it by what it takes from a new file.
    constexpr mode_t kAll = 0777;
    std::string path = IHVFileProvider::AppendPathComponent(IHVFileProvider::GetTmpPath(), ".mask-XXXXXX");
    int const reserved = mkstemp(path.data());
    if (reserved < 0)
        return -1;
    close(reserved);
    unlink(path.c_str());
    int const file = open(path.c_str(), O_CREAT | O_EXCL | O_CLOEXEC | O_WRONLY, kAll);
    struct stat info {};
    bool const known = file >= 0 && fstat(file, &info) == 0;
    if (file >= 0) {
        close(file);
        unlink(path.c_str());
    }
    return known ? static_cast<int>(kAll & ~info.st_mode) : -1;
}

} // namespace Halvorn

#include "HVPrivateFile.h"

#include "HVDescriptor.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Halvorn {

HVPrivateFile::~HVPrivateFile() {
    if (made_ != Mark() && !Written())
        unlink(path_.c_str());
}

int HVPrivateFile::Make(std::string_view content) {
    HVDescriptor const file(open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!file.Valid())
        return errno;
    int const error = write(file.Get(), content.data(), content.size()) < 0 ? errno : 0;
    // Long ago, so that a write in this very second shows.
    timespec const times[2] = {{0, UTIME_OMIT}, {0, 0}};
    futimens(file.Get(), times);
    made_ = MarkOf(path_);
    return error;
}

bool HVPrivateFile::Written() const {
    Mark const now = MarkOf(path_);
    return now != Mark() && now != made_;
}

HVPrivateFile::Mark HVPrivateFile::MarkOf(std::string const& path) {
    struct stat info {};
    if (stat(path.c_str(), &info) != 0)
        return {};
    return {info.st_ino, info.st_size, info.st_mtime};
}

} // namespace Halvorn

#include "HVAtomicFile.h"

#include "IHVFileProvider.h"

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Halvorn {

namespace {

/// Some file systems can't flush, which is no reason to refuse them.
int Flush(int fd) {
    if (fsync(fd) == 0 || errno == EINVAL || errno == ENOTSUP)
        return 0;
    return errno;
}

void FlushFolder(std::string const& folder) {
    HVDescriptor const fd(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (fd.Valid())
        Flush(fd.Get());
}

} // namespace

HVAtomicFile::~HVAtomicFile() {
    if (!temporary_.empty())
        unlink(temporary_.c_str());
}

int HVAtomicFile::Open(unsigned int mode) {
    for (int attempt = 0; attempt < 16; ++attempt) {
        std::string const name = ".reelhaul-" + IHVFileProvider::CreateRandomFileName("part", 12);
        std::string path = IHVFileProvider::AppendPathComponent(FolderOfPath(target_), name);
        file_.Reset(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
        if (file_.Valid()) {
            temporary_ = std::move(path);
            return 0;
        }
        if (errno != EEXIST)
            break;
    }
    return errno;
}

int HVAtomicFile::Write(std::string_view bytes) {
    while (!bytes.empty()) {
        ssize_t const written = write(file_.Get(), bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR)
            return errno;
        if (written > 0)
            bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return 0;
}

int HVAtomicFile::Commit(bool overwrite) {
    if (int const error = Flush(file_.Get()); error != 0)
        return error;
    // Some network file systems tell only now that there was no room.
    if (close(file_.Release()) != 0 && errno != EINTR)
        return errno;
    if (int const error = RenameFile(temporary_, target_, overwrite); error != 0)
        return error;
    temporary_.clear();
    FlushFolder(FolderOfPath(target_));
    return 0;
}

int RenameFile(std::string const& source, std::string const& target, bool overwrite) {
    if (!overwrite) {
        // A second name can't be made in the place of another entry, which makes the refusal atomic.
        if (link(source.c_str(), target.c_str()) == 0) {
            unlink(source.c_str());
            return 0;
        }
        if (errno != EPERM && errno != ENOTSUP && errno != EMLINK && errno != ENOSYS)
            return errno;
        if (AnyEntryExists(target))
            return EEXIST;
    }
    return std::rename(source.c_str(), target.c_str()) == 0 ? 0 : errno;
}

} // namespace Halvorn

#include "HVAtomicFile.h"

#include "HVFileTree.h"
#include "HVRename.h"
#include "IHVFileProvider.h"

#include <algorithm>
#include <cerrno>
#include <ctime>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Halvorn {

namespace {

constexpr std::string_view kPrefix = ".reelhaul-";
constexpr std::string_view kExtension = "part";
constexpr int kRandomLength = 12;
/// A younger file may have been made in this moment and have no lock yet.
constexpr std::time_t kLeftoverSeconds = 600;
/// On a file system without locks: longer than any copy takes after its last write.
constexpr std::time_t kUnlockedSeconds = 86'400;

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

bool IsTemporaryName(std::string_view name) {
    if (name.size() != kPrefix.size() + kRandomLength + 1 + kExtension.size() ||
        name.substr(0, kPrefix.size()) != kPrefix ||
        name.substr(name.size() - kExtension.size() - 1) != "." + std::string(kExtension))
        return false;
    auto const random = name.substr(kPrefix.size(), kRandomLength);
    return std::all_of(random.begin(), random.end(),
                       [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z'); });
}

/// Whether the file is one that an ended process left. A copy of a tool, which can be executed, may be used
/// for longer than it is locked.
bool IsLeftover(int folder, std::string const& name) {
    struct stat info {};
    if (fstatat(folder, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(info.st_mode) ||
        info.st_uid != geteuid() || (info.st_mode & 0111) != 0)
        return false;
    std::time_t const now = std::time(nullptr);
    if (now - info.st_mtime < kLeftoverSeconds)
        return false;
    HVDescriptor const file(openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!file.Valid())
        return false;
    if (flock(file.Get(), LOCK_EX | LOCK_NB) == 0)
        return true;
    return errno != EWOULDBLOCK && now - info.st_ctime >= kUnlockedSeconds;
}

} // namespace

HVAtomicFile::~HVAtomicFile() {
    if (!temporary_.empty())
        unlink(temporary_.c_str());
}

int HVAtomicFile::Open(unsigned int mode) {
    std::string const folder = FolderOfPath(target_);
    for (int attempt = 0; attempt < 16; ++attempt) {
        std::string const name = std::string(kPrefix) + IHVFileProvider::CreateRandomFileName(
                                                            std::string(kExtension), kRandomLength);
        std::string path = IHVFileProvider::AppendPathComponent(folder, name);
        file_.Reset(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
        if (file_.Valid()) {
            flock(file_.Get(), LOCK_EX | LOCK_NB);
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

int HVAtomicFile::Close() {
    if (!file_.Valid())
        return 0;
    if (int const error = Flush(file_.Get()); error != 0)
        return error;
    // The second descriptor keeps the lock while the first is closed: some network file systems tell only
    // then that there was no room.
    lock_.Reset(fcntl(file_.Get(), F_DUPFD_CLOEXEC, 0));
    return close(file_.Release()) == 0 || errno == EINTR ? 0 : errno;
}

int HVAtomicFile::Commit(bool overwrite) {
    if (int const error = Close(); error != 0)
        return error;
    if (int const error = RenameFile(temporary_, target_, overwrite); error != 0)
        return error;
    temporary_.clear();
    lock_.Reset();
    FlushFolder(FolderOfPath(target_));
    return 0;
}

void HVAtomicFile::RemoveLeftovers(std::string const& folder) {
    HVDescriptor const open(OpenFolder(AT_FDCWD, folder + "/."));
    if (!open.Valid())
        return;
    for (auto const& name : EntriesOf(open.Get()))
        if (IsTemporaryName(name) && IsLeftover(open.Get(), name))
            unlinkat(open.Get(), name.c_str(), 0);
}

} // namespace Halvorn

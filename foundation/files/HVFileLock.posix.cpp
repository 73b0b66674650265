#include "HVFileLock.h"

#include "HVFileSystem.h"
#include "HVProcessEnd.h"

#include <cerrno>
#include <mutex>
#include <set>

#include <fcntl.h>
#include <unistd.h>

namespace Halvorn {

namespace {

/// A process never waits for its own locks of this kind, and loses them when it closes any descriptor of the
/// file: what this process has is known here.
struct OwnLocks {
    std::mutex mutex;
    std::set<std::pair<std::uint64_t, std::uint64_t>> files;
};

OwnLocks& Locks() {
    static auto& locks = *new OwnLocks;
    return locks;
}

struct flock WholeFile() {
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return lock;
}

/// The process that keeps this one from the lock. One that can't be named, since it runs in another
/// container, is -1.
int OtherHolder(HVDescriptor const& file) {
    struct flock lock = WholeFile();
    if (fcntl(file.Get(), F_GETLK, &lock) != 0 || lock.l_type == F_UNLCK)
        return 0;
    return lock.l_pid > 0 ? static_cast<int>(lock.l_pid) : -1;
}

} // namespace

std::unique_ptr<HVFileLock> HVFileLock::Take(std::string const& path, int& holder, int& error) {
    holder = 0;
    error = 0;
    auto& own = Locks();
    std::lock_guard const guard(own.mutex);
    if (own.files.count(IdentityOf(path)) != 0) {
        holder = ProcessNumber();
        return nullptr;
    }
    HVDescriptor file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    struct flock lock = WholeFile();
    if (file.Valid() && fcntl(file.Get(), F_SETLK, &lock) == 0) {
        Identity const identity = IdentityOf(path);
        own.files.insert(identity);
        return std::unique_ptr<HVFileLock>(new HVFileLock(std::move(file), identity)); // NOLINT: private
    }
    error = errno;
    if (file.Valid() && (error == EACCES || error == EAGAIN))
        holder = OtherHolder(file);
    return nullptr;
}

int HVFileLock::Holder(std::string const& path) {
    auto& own = Locks();
    std::lock_guard const guard(own.mutex);
    if (own.files.count(IdentityOf(path)) != 0)
        return ProcessNumber();
    HVDescriptor const file(open(path.c_str(), O_RDWR | O_CLOEXEC));
    return file.Valid() ? OtherHolder(file) : 0;
}

HVFileLock::~HVFileLock() {
    auto& own = Locks();
    std::lock_guard const guard(own.mutex);
    own.files.erase(identity_);
    file_.Reset();
}

} // namespace Halvorn

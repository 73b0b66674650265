#include "HVTmpFolder.h"

#include "HVFileTree.h"
#include "IHVFileProvider.h"

#include <algorithm>
#include <cerrno>
#include <string_view>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Halvorn {

namespace {

constexpr std::string_view kPrefix = "reelhaul-";
constexpr char const* kLockName = ".reelhaul-lock";
constexpr char const* kKeptName = ".reelhaul-kept";

bool StartsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

/// True when the open file is still the one that the name in the folder stands for.
bool IsStillNamed(int file, int folder, char const* name) {
    struct stat open {};
    struct stat named {};
    return fstat(file, &open) == 0 && fstatat(folder, name, &named, AT_SYMLINK_NOFOLLOW) == 0 &&
           open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

bool IsPrivateFolder(struct stat const& info) {
    return S_ISDIR(info.st_mode) && info.st_uid == geteuid() && (info.st_mode & 077) == 0;
}

enum class LockResult { Taken, Held, Impossible };

LockResult TryLock(int file) {
    if (flock(file, LOCK_EX | LOCK_NB) == 0)
        return LockResult::Taken;
    return errno == EWOULDBLOCK ? LockResult::Held : LockResult::Impossible;
}

/// Removes the folder if it is one of ours whose process is gone.
void RemoveIfDead(int parent, std::string const& name) {
    HVDescriptor const folder = OpenFolder(parent, name);
    struct stat info {};
    if (!folder.Valid() || fstat(folder.Get(), &info) != 0 || !IsPrivateFolder(info))
        return;
    HVDescriptor const lock(openat(folder.Get(), kLockName, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    // The second look: another start may have locked it first, removed it and let go.
    if (!lock.Valid() || TryLock(lock.Get()) != LockResult::Taken ||
        !IsStillNamed(lock.Get(), folder.Get(), kLockName) ||
        !IsStillNamed(folder.Get(), parent, name.c_str()))
        return;
    auto const entries = EntriesOf(folder.Get());
    if (std::find(entries.begin(), entries.end(), kKeptName) != entries.end())
        return;
    for (auto const& entry : entries)
        if (entry != kLockName)
            RemoveTree(folder.Get(), entry);
    // The lock goes last: what is left of an interrupted removal is recognised by it.
    unlinkat(folder.Get(), kLockName, 0);
    unlinkat(parent, name.c_str(), AT_REMOVEDIR);
}

} // namespace

void RemoveDeadTmpFolders(std::string const& parent) {
    HVDescriptor const folder(open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.Valid())
        return;
    for (auto const& name : EntriesOf(folder.Get()))
        if (StartsWith(name, kPrefix))
            RemoveIfDead(folder.Get(), name);
}

bool HVTmpFolder::Make(std::string const& parent) {
    for (int attempt = 0; attempt < 16; ++attempt) {
        std::string const path = IHVFileProvider::AppendPathComponent(
            parent, std::string(kPrefix) + IHVFileProvider::CreateRandomFileName("", 16));
        if (mkdir(path.c_str(), 0700) != 0)
            continue;
        HVDescriptor const folder = OpenFolder(AT_FDCWD, path);
        if (folder.Valid() && MakeLock(folder.Get()) && IsStillNamed(folder.Get(), AT_FDCWD, path.c_str())) {
            path_ = path;
            owner_ = getpid();
            kept_.clear();
            return true;
        }
        rmdir(path.c_str());
    }
    return false;
}

bool HVTmpFolder::MakeLock(int folder) {
    HVDescriptor lock(openat(folder, kLockName, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    // Between the two, another start may take the lock and begin to remove what looks dead to it. Where the
    // file system has no locks, nobody ever takes the folder for a dead one.
    if (!lock.Valid() || TryLock(lock.Get()) == LockResult::Held ||
        !IsStillNamed(lock.Get(), folder, kLockName))
        return false;
    lock_ = std::move(lock);
    return true;
}

bool HVTmpFolder::IsOwn() const {
    return !path_.empty() && owner_ == getpid();
}

bool HVTmpFolder::Usable() const {
    // Without opening it: a process that has run out of descriptors for a moment must not leave its folder.
    struct stat info {};
    return IsOwn() && lstat(path_.c_str(), &info) == 0 && IsPrivateFolder(info);
}

void HVTmpFolder::Keep(std::string const& name) {
    HVDescriptor const folder = OpenFolder(AT_FDCWD, path_);
    if (!folder.Valid() || name.empty())
        return;
    HVDescriptor const marker(
        openat(folder.Get(), kKeptName, O_WRONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
    kept_.insert(name);
}

void HVTmpFolder::RemoveEntries(std::string const& path, std::string const& stem,
                                std::set<std::string> const& keep) {
    HVDescriptor const folder = OpenFolder(AT_FDCWD, path);
    if (!folder.Valid() || stem.empty())
        return;
    for (auto const& name : EntriesOf(folder.Get()))
        if (StartsWith(name, stem) && keep.count(name) == 0 && name != kLockName && name != kKeptName)
            RemoveTree(folder.Get(), name);
}

bool HVTmpFolder::AnyKeptFileExists() const {
    return std::any_of(kept_.begin(), kept_.end(), [this](std::string const& name) {
        return AnyEntryExists(IHVFileProvider::AppendPathComponent(path_, name));
    });
}

void HVTmpFolder::End() {
    if (!IsOwn())
        return;
    HVDescriptor const folder = OpenFolder(AT_FDCWD, path_);
    if (!folder.Valid())
        return;
    bool const keep = AnyKeptFileExists();
    for (auto const& name : EntriesOf(folder.Get()))
        if (name != kLockName && !(keep && (name == kKeptName || kept_.count(name) != 0)))
            RemoveTree(folder.Get(), name);
    unlinkat(folder.Get(), kLockName, 0);
    if (!keep)
        rmdir(path_.c_str());
    path_.clear();
}

} // namespace Halvorn

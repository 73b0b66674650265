#include "HVTmpFolder.h"

#include "HVFileTree.h"
#include "HVFinishedFile.h"
#include "IHVFileProvider.h"
#include "IHVLogConfig.h"

#include <cerrno>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Halvorn {

namespace {

constexpr std::string_view kPrefix = "reelhaul-";
/// In front of what the folder itself needs.
constexpr std::string_view kOwnPrefix = ".reelhaul-";
constexpr char const* kLockName = ".reelhaul-lock";
/// In front of the name of a kept entry: its record.
constexpr std::string_view kRecordPrefix = ".reelhaul-kept-";
constexpr std::size_t kMaxRecordBytes = 1U << 16;

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

std::string RecordName(std::string const& name) {
    return std::string(kRecordPrefix) + name;
}

/// Writes the record of a kept entry; false where there is no room for it. A kill in the middle leaves half a
/// record, with which the entry is kept, too.
bool WriteRecord(int folder, std::string const& name, std::string const& record) {
    HVDescriptor const file(openat(folder, RecordName(name).c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0600));
    return file.Valid() && write(file.Get(), record.data(), record.size()) >= 0;
}

/// Puts a finished file of an ended process where it belongs. True when it is not in the folder any more.
bool TakeHome(int folder, std::string const& path, std::string const& name) {
    HVFinishedFile file;
    file.path = IHVFileProvider::AppendPathComponent(path, name);
    if (!AnyEntryExists(file.path))
        return true;
    std::string record;
    if (!ReadRegularFile(IHVFileProvider::AppendPathComponent(path, RecordName(name)), kMaxRecordBytes,
                         record) ||
        !file.Load(record, path))
        return false;
    std::erase_if(file.sides, [](auto const& side) { return !AnyEntryExists(side.path); });
    HVPlacement const placement = PutIntoFolder(file);
    if (placement.failure.empty()) {
        IHVLogConfig::Printf("A download that an earlier run had finished is now \"%s\"",
                             placement.target.c_str());
        return true;
    }
    IHVLogConfig::Printf(IHVLogConfig::LogLevelWarning, "A download that an earlier run had finished: %s",
                         placement.failure.c_str());
    // Once is enough: what failed is likely to fail at each start, after a copy of gigabytes.
    if (!placement.ended)
        WriteRecord(folder, name, {});
    return false;
}

/// The entries of an ended process's folder that have to stay in it, with their records.
std::set<std::string> EntriesToKeep(int folder, std::string const& path,
                                    std::vector<std::string> const& entries) {
    std::set<std::string> keep;
    for (auto const& entry : entries) {
        if (!StartsWith(entry, kRecordPrefix))
            continue;
        std::string const name = entry.substr(kRecordPrefix.size());
        if (TakeHome(folder, path, name))
            continue;
        keep.insert(entry);
        keep.insert(name);
        HVFinishedFile file;
        std::string record;
        if (ReadRegularFile(IHVFileProvider::AppendPathComponent(path, entry), kMaxRecordBytes, record) &&
            file.Load(record, {}))
            for (auto const& side : file.sides)
                keep.insert(side.path);
    }
    return keep;
}

/// Removes the folder if it is one of ours whose process has ended, but for finished downloads.
void RemoveIfDead(int parent, std::string const& parentPath, std::string const& name) {
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
    auto const keep =
        EntriesToKeep(folder.Get(), IHVFileProvider::AppendPathComponent(parentPath, name), entries);
    for (auto const& entry : entries)
        if (entry != kLockName && keep.count(entry) == 0)
            RemoveTree(folder.Get(), entry);
    if (!keep.empty())
        return;
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
            RemoveIfDead(folder.Get(), parent, name);
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
            kept_.clear();
            owner_ = getpid();
            return true;
        }
        rmdir(path.c_str());
    }
    return false;
}

bool HVTmpFolder::MakeLock(int folder) {
    HVDescriptor lock(openat(folder, kLockName, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    // Between the two, another start may take the lock and begin to remove what looks dead to it. Where the
    // file system has no locks, no start takes the folder for a dead one.
    if (!lock.Valid() || TryLock(lock.Get()) == LockResult::Held ||
        !IsStillNamed(lock.Get(), folder, kLockName))
        return false;
    lock_ = std::move(lock);
    return true;
}

bool HVTmpFolder::IsOwn() const {
    return owner_ == getpid();
}

bool HVTmpFolder::Usable() const {
    // Without opening it: a process that has run out of descriptors for a moment must not leave its folder.
    struct stat info {};
    return IsOwn() && lstat(path_.c_str(), &info) == 0 && IsPrivateFolder(info);
}

bool HVTmpFolder::Keep(std::string const& name, std::vector<std::string> const& sides,
                       std::string const& record) {
    if (name.empty())
        return true;
    kept_[name] = sides;
    HVDescriptor const folder = OpenFolder(AT_FDCWD, path_);
    return folder.Valid() && WriteRecord(folder.Get(), name, record);
}

void HVTmpFolder::Forget(std::string const& name) {
    HVDescriptor const folder = OpenFolder(AT_FDCWD, path_);
    if (kept_.erase(name) != 0 && folder.Valid())
        unlinkat(folder.Get(), RecordName(name).c_str(), 0);
}

std::set<std::string> HVTmpFolder::Kept() const {
    std::set<std::string> names;
    for (auto const& [name, sides] : kept_) {
        names.insert(name);
        names.insert(sides.begin(), sides.end());
    }
    return names;
}

void HVTmpFolder::RemoveEntries(std::string const& path, std::string const& stem,
                                std::set<std::string> const& keep) {
    HVDescriptor const folder = OpenFolder(AT_FDCWD, path);
    if (!folder.Valid() || stem.empty())
        return;
    for (auto const& name : EntriesOf(folder.Get()))
        if (StartsWith(name, stem) && keep.count(name) == 0 && !StartsWith(name, kOwnPrefix))
            RemoveTree(folder.Get(), name);
}

void HVTmpFolder::CloseInCopy() const {
    // Held here as well, it would have the folder look in use for as long as the copy lives.
    if (lock_.Valid())
        close(lock_.Get());
}

void HVTmpFolder::End() {
    if (!IsOwn())
        return;
    HVDescriptor const folder = OpenFolder(AT_FDCWD, path_);
    if (!folder.Valid())
        return;
    std::set<std::string> keep;
    for (auto const& [name, sides] : kept_) {
        if (!AnyEntryExists(IHVFileProvider::AppendPathComponent(path_, name)))
            continue;
        keep.insert({name, RecordName(name)});
        keep.insert(sides.begin(), sides.end());
        // There may have been no descriptor for it then.
        if (!AnyEntryExists(IHVFileProvider::AppendPathComponent(path_, RecordName(name))))
            WriteRecord(folder.Get(), name, {});
    }
    for (auto const& name : EntriesOf(folder.Get()))
        if (name != kLockName && keep.count(name) == 0)
            RemoveTree(folder.Get(), name);
    // A later start knows a folder with finished files by its lock.
    if (keep.empty()) {
        unlinkat(folder.Get(), kLockName, 0);
        rmdir(path_.c_str());
    }
    owner_ = 0;
    path_.clear();
}

} // namespace Halvorn

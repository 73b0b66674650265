#include "HVPartialFolder.h"

#include "HVFileSystem.h"
#include "HVFileTree.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Halvorn {

namespace {

constexpr mode_t kPrivate = 0700;
/// By it our extension knows the folder.
constexpr char kMark[] = ".resume";
/// Behind the name of each part: where it came from.
constexpr char kNote[] = ".source";
constexpr std::size_t kNameLength = 16;
constexpr std::time_t kDay = 24L * 60 * 60;

bool IsOurName(std::string const& name) {
    return name.size() == kNameLength && name.find_first_not_of("0123456789abcdef") == std::string::npos;
}

/// Not what was fetched: the notes of the tool and our extension, and what ffmpeg has half joined.
bool IsNote(std::string const& name) {
    return name == kMark || name.ends_with(".ytdl") || name.find(".state") != std::string::npos ||
           name.find(kNote) != std::string::npos || name.find(".temp.") != std::string::npos;
}

/// Bytes that our extension knows the source of.
std::uint64_t NotedBytes(int folder) {
    std::uint64_t bytes = 0;
    bool noted = false;
    for (auto const& name : EntriesOf(folder)) {
        struct stat status {};
        noted = noted || name.ends_with(kNote);
        if (!IsNote(name) && fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
            S_ISREG(status.st_mode))
            bytes += static_cast<std::uint64_t>(status.st_size);
    }
    return noted ? bytes : 0;
}

/// The latest change in the folder.
std::time_t ChangedIn(int folder) {
    struct stat status {};
    std::time_t latest = fstat(folder, &status) == 0 ? status.st_mtime : 0;
    for (auto const& name : EntriesOf(folder))
        if (fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0)
            latest = std::max<std::time_t>(latest, status.st_mtime);
    return latest;
}

bool Lock(HVDescriptor const& folder) {
    return flock(folder.Get(), LOCK_EX | LOCK_NB) == 0;
}

} // namespace

HVPartialFolder::HVPartialFolder(std::string parent, std::string name, HVDescriptor lock)
    : parent_(std::move(parent)), name_(std::move(name)), path_(parent_ + "/" + name_),
      lock_(std::move(lock)) {}

std::shared_ptr<HVPartialFolder> HVPartialFolder::Open(std::string const& parent, std::string const& name,
                                                       bool& inUse) {
    inUse = false;
    if (parent.empty() || MakeFolders(parent) != 0)
        return nullptr;
    HVDescriptor const outer = OpenFolder(AT_FDCWD, parent + "/.");
    bool const made = outer.Valid() && mkdirat(outer.Get(), name.c_str(), kPrivate) == 0;
    if (!made && (!outer.Valid() || errno != EEXIST)) {
        inUse = errno == ENOENT; // the last download in it removes the parent
        return nullptr;
    }
    HVDescriptor inner = OpenFolder(outer.Get(), name);
    if (!inner.Valid() || !Lock(inner)) {
        // Some file systems know no locks: nothing is to be waited for there.
        inUse = inner.Valid() ? errno == EWOULDBLOCK : errno == ENOENT;
        return nullptr;
    }
    struct stat mine {};
    struct stat there {};
    // The download that had the lock before may have removed the folder.
    inUse = fstat(inner.Get(), &mine) != 0 ||
            fstatat(outer.Get(), name.c_str(), &there, AT_SYMLINK_NOFOLLOW) != 0 ||
            mine.st_ino != there.st_ino;
    if (inUse)
        return nullptr;
    HVDescriptor const mark(openat(inner.Get(), kMark, O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!mark.Valid())
        return nullptr;
    return std::shared_ptr<HVPartialFolder>(new HVPartialFolder(parent, name, std::move(inner)));
}

void HVPartialFolder::Remove() {
    HVDescriptor const outer = OpenFolder(AT_FDCWD, parent_ + "/.");
    if (outer.Valid())
        RemoveTree(outer.Get(), name_);
    rmdir(parent_.c_str()); // fails where others have theirs
}

void HVPartialFolder::RemoveUnlessFilled() {
    if (Bytes() == 0)
        Remove();
}

std::uint64_t HVPartialFolder::Bytes() const {
    return NotedBytes(lock_.Get());
}

std::uint64_t HVPartialFolder::Bytes(std::string const& parent, std::string const& name) {
    HVDescriptor const folder = OpenFolder(AT_FDCWD, std::string(parent).append("/").append(name));
    return folder.Valid() ? NotedBytes(folder.Get()) : 0;
}

int HVPartialFolder::Sweep(std::string const& parent, int days) {
    HVDescriptor const outer = OpenFolder(AT_FDCWD, parent + "/.");
    if (!outer.Valid())
        return 0;
    int removed = 0;
    std::time_t const latest = std::time(nullptr) - kDay * days;
    for (auto const& name : EntriesOf(outer.Get())) {
        HVDescriptor const inner = IsOurName(name) ? OpenFolder(outer.Get(), name) : HVDescriptor();
        struct stat mark {};
        // The mark tells ours from a folder of the user's with such a name.
        if (!inner.Valid() || fstatat(inner.Get(), kMark, &mark, AT_SYMLINK_NOFOLLOW) != 0 ||
            (ChangedIn(inner.Get()) > latest && NotedBytes(inner.Get()) > 0) || !Lock(inner))
            continue;
        RemoveTree(outer.Get(), name);
        ++removed;
    }
    if (removed > 0)
        rmdir(parent.c_str());
    return removed;
}

std::string StableName(std::string const& text) {
    // FNV-1a: std::hash may be another one in the next version of the standard library.
    std::uint64_t hash = 14695981039346656037ULL;
    for (char const c : text)
        hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
    std::array<char, kNameLength + 1> name{};
    std::snprintf(name.data(), name.size(), "%016llx", static_cast<unsigned long long>(hash));
    return name.data();
}

} // namespace Halvorn

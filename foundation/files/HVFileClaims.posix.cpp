#include "HVFileClaims.h"

#include <cerrno>
#include <cstdint>

#include <fcntl.h>

namespace Halvorn {

namespace {

/// A claim is the lock of one byte, beyond what any file holds. Two names of one place would cost one of them
/// a wait for the next run.
off_t PlaceOf(std::string const& name) {
    std::uint64_t hash = 0xcbf29ce484222325; // the same in each version
    for (char const letter : name)
        hash = (hash ^ static_cast<unsigned char>(letter)) * 0x100000001b3;
    return static_cast<off_t>(hash >> 2);
}

} // namespace

bool HVFileClaims::Lock(std::string const& name, bool take) {
    struct flock lock {};
    lock.l_type = take ? F_WRLCK : F_UNLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = PlaceOf(name);
    lock.l_len = 1;
    return fcntl(file_.Get(), F_SETLK, &lock) == 0 || (errno != EACCES && errno != EAGAIN);
}

std::shared_ptr<HVFileClaims> HVFileClaims::Of(std::string const& path) {
    struct All {
        std::mutex mutex; // guards what follows
        std::map<std::string, std::weak_ptr<HVFileClaims>> byPath;
    };
    static auto* const all = new All; // never destroyed: runs may end until the very end
    std::lock_guard const lock(all->mutex);
    // To close a file gives up all locks that the process has in it: there is one object for it.
    auto& known = all->byPath[path];
    auto claims = known.lock();
    if (claims == nullptr)
        known = claims = std::make_shared<HVFileClaims>(path);
    return claims;
}

bool HVFileClaims::Take(std::string const& name, void const* owner) {
    std::lock_guard const guard(mutex_);
    if (auto const place = owners_.find(name); place != owners_.end())
        return place->second == owner;
    if (!file_.Valid())
        file_ = HVDescriptor(open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (file_.Valid() && !Lock(name, true))
        return false;
    owners_.emplace(name, owner);
    return true;
}

void HVFileClaims::Leave(std::string const& name, void const* owner) {
    std::lock_guard const guard(mutex_);
    auto const place = owners_.find(name);
    if (place == owners_.end() || place->second != owner)
        return;
    owners_.erase(place);
    if (file_.Valid())
        Lock(name, false);
}

} // namespace Halvorn

#include "HVFileReservation.h"

#include "HVFileSystem.h"
#include "HVPerProcess.h"
#include "IHVStringHelper.h"

#include <mutex>
#include <set>
#include <tuple>
#include <utility>

namespace Halvorn {

namespace {

/// The folder's identity, and the name in it. Of a folder that does not exist the whole path is the name.
using Key = std::tuple<std::uint64_t, std::uint64_t, std::string>;

Key TextKey(std::string const& path) {
    return {0, 0, IHVStringHelper::ToLower(path)};
}

Key KeyOf(std::string const& path) {
    auto const [device, number] = IdentityOf(FolderOfPath(path));
    if (number == 0)
        return TextKey(path);
    return {device, number, IHVStringHelper::ToLower(path.substr(path.rfind('/') + 1))};
}

struct Reservations {
    std::mutex mutex;
    std::set<Key> keys;

    static Reservations& Shared() { return HVPerProcess<Reservations>::Shared(); }
    bool Take(Key key) {
        std::lock_guard const lock(mutex);
        return keys.insert(std::move(key)).second;
    }
    void Release(std::string const& path) {
        Key const key = KeyOf(path);
        std::lock_guard const lock(mutex);
        keys.erase(key);
        // The folder may have been made since the path was reserved.
        keys.erase(TextKey(path));
    }
};

} // namespace

bool ReserveFreePath(std::string const& path) {
    // Reserved before the look at the disk: the other way round, a move that ends in between would free the
    // name after the look and before the reservation.
    if (!Reservations::Shared().Take(KeyOf(path)))
        return false;
    if (!AnyEntryExists(path))
        return true;
    Reservations::Shared().Release(path);
    return false;
}

void ReleaseFileReservation(std::string const& path) {
    Reservations::Shared().Release(path);
}

bool HVReservedPaths::Take(std::vector<std::string> const& paths) {
    Release();
    for (auto const& path : paths) {
        if (!ReserveFreePath(path)) {
            Release();
            return false;
        }
        paths_.push_back(path);
    }
    return true;
}

void HVReservedPaths::Release() {
    for (auto const& path : paths_)
        ReleaseFileReservation(path);
    paths_.clear();
}

} // namespace Halvorn

#pragma once
// Names of files that this process has handed out and not used yet. A name belongs to its folder, by
// whichever path that is reached, and its case does not count: some file systems make one file of "a" and
// "A". Thread-safe.

#include <string>
#include <vector>

namespace Halvorn {

/// Reserves a path at which nothing stands; false where something does, or where it is reserved already.
bool ReserveFreePath(std::string const& path);
/// Lets a path be handed out again.
void ReleaseFileReservation(std::string const& path);

/// Paths that are reserved together for as long as this lives. One thread at a time.
class HVReservedPaths {
public:
    HVReservedPaths() = default;
    HVReservedPaths(HVReservedPaths const&) = delete;
    HVReservedPaths& operator=(HVReservedPaths const&) = delete;
    ~HVReservedPaths() { Release(); }

    /// All of them, or none and false where one is not free.
    bool Take(std::vector<std::string> const& paths);
    void Release();

private:
    std::vector<std::string> paths_;
};

} // namespace Halvorn

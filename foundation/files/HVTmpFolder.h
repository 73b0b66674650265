#pragma once
// A process's private folder under the system's temporary folder. A lock that ends with the process tells a
// folder in use from one that a killed process left. One thread at a time.

#include "HVFileSystem.h"

#include <set>
#include <string>

#include <sys/types.h>

namespace Halvorn {

class HVTmpFolder {
public:
    /// Makes and locks a new folder in `parent`. False when that is not possible.
    bool Make(std::string const& parent);
    std::string const& Path() const { return path_; }
    /// True when the folder was made by this process, not by one it was forked from.
    bool IsOwn() const;
    /// True when the folder is this process's own and still there.
    bool Usable() const;

    /// Keeps an entry beyond End, and beyond a later start.
    void Keep(std::string const& name);
    std::set<std::string> const& Kept() const { return kept_; }
    /// Removes the folder, but for what is kept. Does nothing in a forked process.
    void End();

    /// Removes the entries of the folder `path` that begin with `stem`, but for those in `keep`.
    static void RemoveEntries(std::string const& path, std::string const& stem,
                              std::set<std::string> const& keep);

private:
    bool MakeLock(int folder);
    bool AnyKeptFileExists() const;

    std::string path_;
    HVDescriptor lock_;
    pid_t owner_ = 0;
    std::set<std::string> kept_;
};

/// Removes the folders in `parent` that are this user's and whose process is gone.
void RemoveDeadTmpFolders(std::string const& parent);

} // namespace Halvorn

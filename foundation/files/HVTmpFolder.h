#pragma once
// A process's private folder under the system's temporary folder. A lock that ends with the process tells a
// folder in use from one that a killed process left. Beside each file that is to outlive the process stands a
// record, which says where it belongs if that is known. One thread at a time.

#include "HVFileSystem.h"

#include <atomic>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace Halvorn {

struct HVFinishedFile;

class HVTmpFolder {
public:
    /// Makes and locks a new folder in `parent`. False when that is not possible.
    bool Make(std::string const& parent);
    std::string const& Path() const { return path_; }
    /// True when the folder was made by this process, not by one it was forked from. Any thread.
    bool IsOwn() const;
    /// True when the folder is this process's own and still there.
    bool Usable() const;

    /// Keeps an entry beyond End, and beyond a later start. False where a kill would have that start remove
    /// it: there is no room for its record.
    bool Keep(std::string const& name) { return Keep(name, {}, {}); }
    /// The same for an entry that a later start takes home, and for the files that go with it.
    bool Keep(std::string const& name, std::vector<std::string> const& sides, std::string const& record);
    /// The entry has left the folder.
    void Forget(std::string const& name);
    /// Names that are kept, those of files that go with others among them.
    std::set<std::string> Kept() const;
    /// Removes the folder, but for what is kept. Does nothing in a forked process.
    void End();
    /// In a forked copy of the process, on its only thread: lets go of the lock. Does what a signal handler
    /// may.
    void CloseInCopy() const;

    /// Removes the entries of the folder `path` that begin with `stem`, but for those in `keep`.
    static void RemoveEntries(std::string const& path, std::string const& stem,
                              std::set<std::string> const& keep);

private:
    bool MakeLock(int folder);

    std::string path_;
    HVDescriptor lock_;
    std::atomic<int> owner_ = 0;                           ///< process id; 0 without a folder
    std::map<std::string, std::vector<std::string>> kept_; ///< name of an entry, name of what goes with it
};

/// Removes the folders in `parent` that are this user's and whose process has ended. Finished downloads in
/// them are put where they belong; those for which that isn't known, or fails, stay.
void RemoveDeadTmpFolders(std::string const& parent);

/// The system's folder for temporary files.
std::string SystemTmpFolder();

/// Keeps a file of the process's temporary folder beyond the end of the process, and has a later start put it
/// where it belongs.
void KeepFinishedFile(HVFinishedFile const& file);
/// Ends that, and that of KeepTmpFile.
void ForgetKeptFile(std::string const& path);

} // namespace Halvorn

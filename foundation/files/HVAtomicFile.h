#pragma once
// A file that is written under a hidden temporary name in its folder and gets its own name when it is whole:
// at any moment, a crash included, the name stands for the old file, the new one, or none. A lock on the
// temporary file tells one that is being written from one that a killed process left. One thread at a time.

#include "HVFileSystem.h"

#include <string>
#include <string_view>

namespace Halvorn {

class HVAtomicFile {
public:
    explicit HVAtomicFile(std::string target) : target_(std::move(target)) {}
    HVAtomicFile(HVAtomicFile const&) = delete;
    HVAtomicFile& operator=(HVAtomicFile const&) = delete;
    /// Removes what was not committed.
    ~HVAtomicFile();

    // Each of these returns 0 or the error's number.
    int Open(unsigned int mode = 0600);
    int Write(std::string_view bytes);
    /// Flushes to the disk and puts the file in its place; nothing can be written any more. Without
    /// `overwrite`, EEXIST where something has the name: another name in the folder may be tried then.
    int Commit(bool overwrite);
    void SetTarget(std::string target) { target_ = std::move(target); }

    /// The open file, for its permissions and times.
    int Descriptor() const { return file_.Get(); }

    /// Removes the user's temporary files of this kind that ended processes have left in the folder.
    static void RemoveLeftovers(std::string const& folder);

private:
    int Close();

    std::string target_;
    std::string temporary_;
    HVDescriptor file_;
    HVDescriptor lock_; ///< of the closed file, until it has its name
};

} // namespace Halvorn

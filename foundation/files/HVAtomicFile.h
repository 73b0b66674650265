#pragma once
// A file that is written under a hidden temporary name in its folder and gets its own name when it is whole:
// at any moment, a crash included, the name stands for the old file, the new one, or none. One thread at a
// time.

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
    /// Flushes to the disk and puts the file in its place. Without `overwrite`, EEXIST where something has
    /// the name.
    int Commit(bool overwrite);

    /// The open file, for its permissions and times.
    int Descriptor() const { return file_.Get(); }

private:
    std::string target_;
    std::string temporary_;
    HVDescriptor file_;
};

/// Renames; without `overwrite`, EEXIST where something has the name. 0 or the error's number.
int RenameFile(std::string const& source, std::string const& target, bool overwrite);

} // namespace Halvorn

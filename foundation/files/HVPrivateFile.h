#pragma once
// A file with a secret in it that another program is to write. It is made first, for the user alone: the
// program's own file would have the permissions that the process's umask leaves, and the program would follow
// a link in the file's place. One thread at a time.

#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>

namespace Halvorn {

class HVPrivateFile {
public:
    explicit HVPrivateFile(std::string path) : path_(std::move(path)) {}
    HVPrivateFile(HVPrivateFile const&) = delete;
    HVPrivateFile& operator=(HVPrivateFile const&) = delete;
    /// Removes the file unless it was written.
    ~HVPrivateFile();

    /// Makes the file with what the program is to find in it. 0, or the error's number: EEXIST where
    /// something has the name.
    int Make(std::string_view content);
    /// Whether the program has written it, or another file in its place.
    bool Written() const;

private:
    /// What differs once a file has been written: its number, size, and time in seconds.
    using Mark = std::tuple<std::uint64_t, std::int64_t, std::int64_t>;
    static Mark MarkOf(std::string const& path);

    std::string const path_;
    Mark made_; ///< zeros until it is made
};

} // namespace Halvorn

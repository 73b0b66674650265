#pragma once
// A text file to which several processes add lines: each opens it by its path for every operation, so that a
// file that took its place is found, too. Not even a kill leaves half a line, and none is lost. One thread at
// a time.

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Halvorn {

class HVLineFile {
public:
    explicit HVLineFile(std::string path) : path_(std::move(path)) {}

    struct Reader {
        std::function<void()> anew; ///< another file, or a shorter one: all of it is read again
        std::function<void(std::string_view)> line; ///< without blanks around it, never empty
    };
    /// Reads what was added since the last call. A missing file is an empty one. Returns the reason of a
    /// failure; empty when all went well.
    std::string ReadNew(Reader const& reader);
    /// Reads what was added, then adds the lines that `choose` returns, while no other process adds any.
    /// Waits ten seconds at most for one that does. The file is made where it is missing, for the user alone.
    std::string Append(Reader const& reader, std::function<std::vector<std::string>()> const& choose);

private:
    std::string Read(int file, Reader const& reader);

    std::string const path_;
    std::pair<std::uint64_t, std::uint64_t> identity_;
    std::int64_t read_ = 0;   ///< bytes, up to the end of a line
    bool endsInLine_ = false; ///< the last line has no end yet
};

} // namespace Halvorn

#pragma once
// Moves and copies of files, across file systems too: a target is whole or absent at any moment. Thread-safe,
// but for one HVFileMove.

#include "HVAtomicFile.h"

#include <chrono>
#include <optional>
#include <string>

namespace Halvorn {

/// Why a file did not get to its place, in words for a user; nothing happened where `error` is 0.
struct HVFileFailure {
    int error = 0;
    std::string reason;

    bool Happened() const { return error != 0; }
};

/// A file on its way to a folder, where it gets whichever name is free.
class HVFileMove {
public:
    explicit HVFileMove(std::string source) : source_(std::move(source)) {}
    /// By a rename, or by a copy in the target's folder. Without `overwrite`, EEXIST where the name is taken:
    /// another one in the same folder may be tried then, and what was copied is not copied again.
    HVFileFailure To(std::string const& target, bool overwrite);

private:
    HVFileFailure Copy(std::string const& target);

    std::string const source_;
    std::optional<HVAtomicFile> copy_;
};

/// Copies what `source` leads to, with permissions and times.
HVFileFailure CopyFile(std::string const& source, std::string const& target, bool overwrite);

/// Whether moves or copies may be made to these paths.
HVFileFailure CheckMovePaths(std::string const& source, std::string const& target);

/// What a user is told of a move that failed.
std::string MoveFailureText(std::string const& source, std::string const& target,
                            HVFileFailure const& failure);

/// Lets the end of the process wait for a move, with all that belongs to it.
class HVMoveUnderWay {
public:
    HVMoveUnderWay();
    HVMoveUnderWay(HVMoveUnderWay const&) = delete;
    HVMoveUnderWay& operator=(HVMoveUnderWay const&) = delete;
    ~HVMoveUnderWay();
};

/// At the end of the process: waits for the moves under way, then has copies give up and remove what they
/// made. Their sources stay.
void EndFileMoves(std::chrono::milliseconds wait);

} // namespace Halvorn

#include "HVFileMove.h"

#include "HVPerProcess.h"
#include "HVRename.h"
#include "IHVLogConfig.h"

#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <mutex>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Halvorn {

namespace {

constexpr std::size_t kCopyBytes = 1U << 20;
/// How long the end of the process waits for copies to notice that they are to give up.
constexpr std::chrono::seconds kGiveUpWait{1};

struct Moves {
    std::mutex mutex;
    std::condition_variable changed;
    int underWay = 0;
    std::atomic<bool> giveUp = false;

    static Moves& Shared() { return HVPerProcess<Moves>::Shared(); }
    void Wait(std::chrono::milliseconds limit) {
        std::unique_lock lock(mutex);
        changed.wait_for(lock, limit, [this] { return underWay == 0; });
    }
};

HVFileFailure SourceFailure(int error) {
    return {error, error == ENOENT ? "the file does not exist" : FileErrorReason(error)};
}
HVFileFailure TargetFailure(int error) {
    return error == 0 ? HVFileFailure() : HVFileFailure{error, FileErrorReason(error)};
}

HVFileFailure CopyBytes(int source, HVAtomicFile& target) {
    std::vector<char> buffer(kCopyBytes);
    for (;;) {
        if (Moves::Shared().giveUp)
            return {ECANCELED, "the application ended"};
        ssize_t const length = read(source, buffer.data(), buffer.size());
        if (length == 0)
            return {};
        if (length < 0) {
            if (errno == EINTR)
                continue;
            return SourceFailure(errno);
        }
        if (int const error = target.Write({buffer.data(), static_cast<std::size_t>(length)}); error != 0)
            return TargetFailure(error);
    }
}

/// Copies all but the name of what `source` leads to.
HVFileFailure CopyContent(std::string const& source, HVAtomicFile& copy) {
    // Without waiting: a pipe in the place of the file would keep us for ever.
    HVDescriptor const file(open(source.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat info {};
    if (!file.Valid() || fstat(file.Get(), &info) != 0)
        return SourceFailure(errno);
    if (!S_ISREG(info.st_mode))
        return {EINVAL, "it is no file"};
    if (int const error = copy.Open(); error != 0)
        return TargetFailure(error);
    if (HVFileFailure failure = CopyBytes(file.Get(), copy); failure.Happened())
        return failure;
    // File systems without permissions or times refuse; the bytes are what counts.
    if (fchmod(copy.Descriptor(), info.st_mode & 0777) != 0)
        IHVLogConfig::Printf("The permissions of \"%s\" could not be kept", source.c_str());
    timespec const times[2] = {{0, UTIME_OMIT}, {info.st_mtime, 0}};
    futimens(copy.Descriptor(), times);
    return {};
}

} // namespace

HVMoveUnderWay::HVMoveUnderWay() {
    auto& moves = Moves::Shared();
    std::lock_guard const lock(moves.mutex);
    ++moves.underWay;
}

HVMoveUnderWay::~HVMoveUnderWay() {
    auto& moves = Moves::Shared();
    std::lock_guard const lock(moves.mutex);
    --moves.underWay;
    moves.changed.notify_all();
}

void EndFileMoves(std::chrono::milliseconds wait) {
    auto& moves = Moves::Shared();
    moves.Wait(wait);
    moves.giveUp = true;
    moves.Wait(kGiveUpWait);
}

HVFileFailure HVFileMove::To(std::string const& target, bool overwrite) {
    if (!copy_) {
        int const error = RenameFile(source_, target, overwrite);
        if (error == 0)
            return {};
        if (error != EXDEV)
            return error == ENOENT && !AnyEntryExists(source_) ? SourceFailure(error) : TargetFailure(error);
        // Before the work, not only at its end.
        if (!overwrite && AnyEntryExists(target))
            return TargetFailure(EEXIST);
        if (HVFileFailure failure = Copy(target); failure.Happened())
            return failure;
    }
    copy_->SetTarget(target);
    if (int const error = copy_->Commit(overwrite); error != 0)
        return TargetFailure(error);
    if (unlink(source_.c_str()) != 0)
        IHVLogConfig::Printf(IHVLogConfig::LogLevelWarning,
                             "\"%s\" was copied to \"%s\" but could not be removed", source_.c_str(),
                             target.c_str());
    return {};
}

HVFileFailure HVFileMove::Copy(std::string const& target) {
    copy_.emplace(target);
    HVFileFailure failure = CopyContent(source_, *copy_);
    if (failure.Happened())
        copy_.reset();
    return failure;
}

HVFileFailure CopyFile(std::string const& source, std::string const& target, bool overwrite) {
    if (!overwrite && AnyEntryExists(target))
        return TargetFailure(EEXIST);
    HVAtomicFile copy(target);
    if (HVFileFailure failure = CopyContent(source, copy); failure.Happened())
        return failure;
    return TargetFailure(copy.Commit(overwrite));
}

std::string MoveFailureText(std::string const& source, std::string const& target,
                            HVFileFailure const& failure) {
    std::string text = "Can't move \"" + source + "\" to \"" + target + "\": " + failure.reason + ".";
    if (AnyEntryExists(source))
        text += " The file stays at \"" + source + "\".";
    return text;
}

HVFileFailure CheckMovePaths(std::string const& source, std::string const& target) {
    if (source.empty())
        return {EINVAL, "no file is named"};
    if (target.empty())
        return {EINVAL, "no target is named"};
    struct stat info {};
    if (lstat(target.c_str(), &info) != 0 || S_ISREG(info.st_mode) || S_ISLNK(info.st_mode))
        return {};
    if (S_ISDIR(info.st_mode))
        return TargetFailure(EISDIR);
    return {EINVAL, "a device is in the place of the file"};
}

} // namespace Halvorn

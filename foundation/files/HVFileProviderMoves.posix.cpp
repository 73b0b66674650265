#include "HVAtomicFile.h"
#include "IHVFileProvider.h"
#include "IHVLogConfig.h"

#include <cerrno>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Halvorn {

namespace {

constexpr std::size_t kCopyBytes = 1U << 20;

struct Failure {
    int error = 0;
    std::string reason;

    bool Happened() const { return error != 0; }
};

Failure SourceFailure(int error) {
    return {error, error == ENOENT ? "the file does not exist" : FileErrorReason(error)};
}
Failure TargetFailure(int error) {
    return error == 0 ? Failure() : Failure{error, FileErrorReason(error)};
}

Failure CopyBytes(int source, HVAtomicFile& target) {
    std::vector<char> buffer(kCopyBytes);
    for (;;) {
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

/// Copies what `source` leads to, with permissions and times.
Failure CopyFile(std::string const& source, std::string const& target, bool overwrite) {
    // Without waiting: a pipe in the place of the file would keep us for ever.
    HVDescriptor const file(open(source.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat info {};
    if (!file.Valid() || fstat(file.Get(), &info) != 0)
        return SourceFailure(errno);
    if (!S_ISREG(info.st_mode))
        return {EINVAL, "it is no file"};
    if (!overwrite && AnyEntryExists(target))
        return TargetFailure(EEXIST);
    HVAtomicFile copy(target);
    if (int const error = copy.Open(); error != 0)
        return TargetFailure(error);
    if (Failure failure = CopyBytes(file.Get(), copy); failure.Happened())
        return failure;
    // File systems without permissions or times refuse; the bytes are what counts.
    if (fchmod(copy.Descriptor(), info.st_mode & 0777) != 0)
        IHVLogConfig::Printf("The permissions of \"%s\" could not be kept", target.c_str());
    timespec const times[2] = {{0, UTIME_OMIT}, {info.st_mtime, 0}};
    futimens(copy.Descriptor(), times);
    return TargetFailure(copy.Commit(overwrite));
}

Failure MoveFile(std::string const& source, std::string const& target, bool overwrite) {
    int const error = RenameFile(source, target, overwrite);
    if (error == 0)
        return {};
    if (error != EXDEV)
        return error == ENOENT && !AnyEntryExists(source) ? SourceFailure(error) : TargetFailure(error);
    Failure failure = CopyFile(source, target, overwrite);
    if (!failure.Happened() && unlink(source.c_str()) != 0)
        IHVLogConfig::Printf(IHVLogConfig::LogLevelWarning,
                             "\"%s\" was copied to \"%s\" but could not be removed", source.c_str(),
                             target.c_str());
    return failure;
}

std::shared_ptr<IHVError const> Report(char const* function, char const* verb, std::string const& source,
                                       std::string const& target, Failure const& failure) {
    if (!failure.Happened())
        return IHVError::MallocSucceed("HVFileProvider", __LINE__, function);
    std::string message =
        std::string("Can't ") + verb + " \"" + source + "\" to \"" + target + "\": " + failure.reason + ".";
    if (AnyEntryExists(source))
        message += " The file stays at \"" + source + "\".";
    return IHVError::MallocError("HVFileProvider", __LINE__, function, HVErrorCodeIO, "IO Error",
                                 message.c_str());
}

Failure CheckPaths(std::string const& source, std::string const& target) {
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

} // namespace

std::shared_ptr<IHVError const> IHVFileProvider::MvFile(std::string const& source, std::string const& target,
                                                        bool overwrite) {
    Failure failure = CheckPaths(source, target);
    if (!failure.Happened())
        failure = MoveFile(source, target, overwrite);
    // Only now, when whoever looks for a free name finds the file on the disk.
    ReleaseFileReservation(target);
    return Report("MvFile", "move", source, target, failure);
}

std::shared_ptr<IHVError const> IHVFileProvider::CpFile(std::string const& source, std::string const& target,
                                                        bool overwrite) {
    Failure failure = CheckPaths(source, target);
    if (!failure.Happened())
        failure = CopyFile(source, target, overwrite);
    ReleaseFileReservation(target);
    return Report("CpFile", "copy", source, target, failure);
}

} // namespace Halvorn

#include "HVRename.h"

#include "HVFileSystem.h"
#include "IHVStringHelper.h"

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Halvorn {

namespace {

/// Whether a call failed because this file system has no such call. EPERM is what some answer to a link, and
/// some sandboxes to a call that they don't know.
bool IsMissing(int error) {
    // ENOTSUP and EOPNOTSUPP are one number on some systems and two on others.
    for (int const missing : {EINVAL, ENOSYS, ENOTSUP, EOPNOTSUPP, EPERM, EMLINK})
        if (error == missing)
            return true;
    return false;
}

std::string NameOf(std::string const& path) {
    return path.substr(path.rfind('/') + 1);
}

/// Whether the paths are two names of one file. One name written in two ways is not: where case is ignored,
/// "a" and "A" are such.
bool AreTwoNamesOfOneFile(std::string const& source, std::string const& target) {
    struct stat from {};
    struct stat to {};
    if (lstat(source.c_str(), &from) != 0 || lstat(target.c_str(), &to) != 0 || from.st_nlink < 2 ||
        from.st_dev != to.st_dev || from.st_ino != to.st_ino)
        return false;
    return IdentityOf(FolderOfPath(source)) != IdentityOf(FolderOfPath(target)) ||
           IHVStringHelper::ToLower(NameOf(source)) != IHVStringHelper::ToLower(NameOf(target));
}

int RenameOver(std::string const& source, std::string const& target) {
    // The system's rename does nothing then, and succeeds.
    if (AreTwoNamesOfOneFile(source, target))
        return unlink(source.c_str()) == 0 ? 0 : errno;
    return std::rename(source.c_str(), target.c_str()) == 0 ? 0 : errno;
}

} // namespace

int RenameFile(std::string const& source, std::string const& target, bool overwrite) {
    if (overwrite)
        return RenameOver(source, target);
    int error = RenameExclusive(source, target);
    if (IsMissing(error))
        error = RenameByLink(source, target);
    return IsMissing(error) ? RenameOntoPlaceholder(source, target) : error;
}

int RenameByLink(std::string const& source, std::string const& target) {
    if (link(source.c_str(), target.c_str()) != 0)
        return errno;
    unlink(source.c_str());
    return 0;
}

int RenameOntoPlaceholder(std::string const& source, std::string const& target) {
    HVDescriptor const placeholder(
        open(target.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!placeholder.Valid())
        return errno;
    if (std::rename(source.c_str(), target.c_str()) == 0)
        return 0;
    int const error = errno;
    unlink(target.c_str());
    return error;
}

} // namespace Halvorn

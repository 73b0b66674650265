#include "HVFileSystem.h"
#include "IHVFileProvider.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Halvorn {

bool AnyEntryExists(std::string const& path) {
    struct stat info {};
    return lstat(path.c_str(), &info) == 0;
}

bool IsFolder(std::string const& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

std::pair<std::uint64_t, std::uint64_t> IdentityOf(std::string const& path) {
    struct stat info {};
    if (stat(path.c_str(), &info) != 0)
        return {0, 0};
    return {static_cast<std::uint64_t>(info.st_dev), static_cast<std::uint64_t>(info.st_ino)};
}

bool ReadRegularFile(std::string const& path, std::size_t maxBytes, std::string& text) {
    // Without waiting for a pipe's other end.
    HVDescriptor const file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat info {};
    if (!file.Valid() || fstat(file.Get(), &info) != 0 || !S_ISREG(info.st_mode))
        return false;
    text.clear();
    char buffer[4096];
    for (;;) {
        ssize_t const length = read(file.Get(), buffer, sizeof buffer);
        if (length == 0)
            return true;
        if (length < 0 && errno != EINTR)
            return false;
        if (length > 0)
            text.append(buffer, static_cast<std::size_t>(length));
        if (text.size() > maxBytes)
            return false;
    }
}

std::string AbsolutePath(std::string const& path) {
    std::error_code failure;
    auto absolute = path.empty() ? std::filesystem::path() : std::filesystem::absolute(path, failure);
    return failure ? path : absolute.string();
}

std::string FileIdentity(std::string const& path) {
    struct stat info {};
    if (stat(path.c_str(), &info) != 0)
        return {};
    return std::to_string(info.st_dev) + ' ' + std::to_string(info.st_ino) + ' ' +
           std::to_string(info.st_size) + ' ' + std::to_string(info.st_mtime);
}

std::int64_t SecondsSinceChange(std::string const& path) {
    struct stat info {};
    return lstat(path.c_str(), &info) == 0 ? std::max<std::int64_t>(std::time(nullptr) - info.st_ctime, 0)
                                           : -1;
}

bool IHVFileProvider::PathFileExist(std::string const& path) {
    struct stat info {};
    return !path.empty() && stat(path.c_str(), &info) == 0;
}

std::size_t LongestFileName(std::string const& folder) {
    long const limit = folder.empty() ? -1 : pathconf(folder.c_str(), _PC_NAME_MAX);
    return limit > 0 ? static_cast<std::size_t>(limit) : 255;
}

std::string FolderOfPath(std::string const& path) {
    std::size_t const slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

int MakeFolders(std::string const& folder) {
    if (mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST)
        return 0;
    std::string const above = FolderOfPath(folder);
    if (errno != ENOENT || above == folder || above == ".")
        return errno;
    int const error = MakeFolders(above);
    if (error != 0)
        return error;
    return mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST ? 0 : errno;
}

int FolderError(std::string const& folder) {
    if (int const error = MakeFolders(folder); error != 0)
        return error;
    if (!IsFolder(folder))
        return ENOTDIR;
    return access(folder.c_str(), W_OK | X_OK) == 0 ? 0 : errno;
}

int MakePrivateFile(std::string const& path) {
    HVDescriptor const file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    return file.Valid() ? 0 : errno;
}

std::string FileErrorReason(int error) {
    switch (error) {
    case ENOSPC:
        return "no space is left there";
    case EDQUOT:
        return "the user's share of the disk is used up";
    case ENOENT:
        return "the folder does not exist";
    case ENOTDIR:
        return "what should be a folder is a file";
    case EACCES:
    case EPERM:
        return "there is no permission";
    case EROFS:
        return "the disk can only be read";
    case EEXIST:
    case ENOTEMPTY:
        return "the name is taken";
    case EISDIR:
        return "a folder is in the place of the file";
    case ENAMETOOLONG:
        return "the name is too long";
    case EFBIG:
        return "the file is too large for that disk";
    default:
        return std::generic_category().message(error);
    }
}

} // namespace Halvorn

#include "HVLineFile.h"

#include "HVDescriptor.h"
#include "HVFileSystem.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <string_view>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Halvorn {

namespace {

constexpr std::chrono::seconds kPatience(10);
constexpr std::chrono::milliseconds kLook(5);
constexpr std::size_t kChunk = std::size_t{1} << 16;

std::pair<std::uint64_t, std::uint64_t> IdentityOfFile(struct stat const& info) {
    return {static_cast<std::uint64_t>(info.st_dev), static_cast<std::uint64_t>(info.st_ino)};
}

/// 0, or the error's number. Where the file system knows no locks there is none, as with the tool itself.
int Lock(int file) {
    auto const until = std::chrono::steady_clock::now() + kPatience;
    while (flock(file, LOCK_EX | LOCK_NB) != 0) {
        if (errno == ENOLCK || errno == EOPNOTSUPP)
            return 0;
        if (errno != EWOULDBLOCK && errno != EINTR)
            return errno;
        if (std::chrono::steady_clock::now() >= until)
            return EBUSY;
        std::this_thread::sleep_for(kLook);
    }
    return 0;
}

/// Opens the file for a change and locks it; the file may have been replaced while the lock was waited for.
int OpenLocked(std::string const& path, HVDescriptor& file) {
    constexpr int kTries = 100;
    for (int i = 0; i < kTries; ++i) {
        file.Reset(open(path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC, 0600));
        if (!file.Valid())
            return errno;
        if (int const error = Lock(file.Get()); error != 0)
            return error;
        struct stat info {};
        if (fstat(file.Get(), &info) == 0 && IdentityOfFile(info) == IdentityOf(path))
            return 0;
    }
    return EBUSY;
}

std::string_view Trimmed(std::string_view line) {
    constexpr std::string_view kBlanks = " \t\r\n\v\f";
    auto const first = line.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return line.substr(first, line.find_last_not_of(kBlanks) - first + 1);
}

} // namespace

std::string HVLineFile::Read(int file, Reader const& reader) {
    struct stat info {};
    if (fstat(file, &info) != 0)
        return FileErrorReason(errno);
    if (!S_ISREG(info.st_mode))
        return "it is no file";
    if (auto const identity = IdentityOfFile(info); identity != identity_ || info.st_size < read_) {
        identity_ = identity;
        read_ = 0;
        reader.anew();
    }
    endsInLine_ = false;
    std::string rest;
    std::string chunk(kChunk, '\0');
    for (std::int64_t at = read_; at < info.st_size;) {
        auto const got = pread(file, chunk.data(), chunk.size(), static_cast<off_t>(at));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return FileErrorReason(errno);
        if (got == 0)
            break;
        at += got;
        rest.append(chunk.data(), static_cast<std::size_t>(got));
        std::size_t begin = 0;
        for (auto end = rest.find('\n'); end != std::string::npos; end = rest.find('\n', begin)) {
            if (auto const line = Trimmed(std::string_view(rest).substr(begin, end - begin)); !line.empty())
                reader.line(line);
            begin = end + 1;
        }
        read_ += static_cast<std::int64_t>(begin);
        rest.erase(0, begin);
    }
    endsInLine_ = !rest.empty();
    if (auto const line = Trimmed(rest); !line.empty())
        reader.line(line);
    return {};
}

std::string HVLineFile::ReadNew(Reader const& reader) {
    // A pipe would keep the open waiting for a writer.
    HVDescriptor const file(open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (file.Valid())
        return Read(file.Get(), reader);
    if (errno != ENOENT)
        return FileErrorReason(errno);
    identity_ = {};
    read_ = 0;
    reader.anew();
    return {};
}

std::string HVLineFile::Append(Reader const& reader,
                               std::function<std::vector<std::string>()> const& choose) {
    HVDescriptor file;
    if (int const error = OpenLocked(path_, file); error != 0)
        return error == EBUSY ? "another process keeps it locked" : FileErrorReason(error);
    if (std::string reason = Read(file.Get(), reader); !reason.empty())
        return reason;
    std::string text;
    for (auto const& line : choose())
        text += line + "\n";
    if (text.empty())
        return {};
    if (endsInLine_)
        text.insert(text.begin(), '\n');
    auto const size = lseek(file.Get(), 0, SEEK_END);
    auto const written = write(file.Get(), text.data(), text.size());
    if (written == static_cast<ssize_t>(text.size()))
        return {};
    int const error = written < 0 ? errno : ENOSPC;
    // Half an identity would be another one.
    if (written > 0 && size >= 0 && ftruncate(file.Get(), size) != 0)
        return "it may end in half a line: " + FileErrorReason(errno);
    return FileErrorReason(error);
}

} // namespace Halvorn

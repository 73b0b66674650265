#include "HVLocalSocket.h"

#include "HVPeer.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace Halvorn {

namespace {

using Clock = std::chrono::steady_clock;

constexpr char const* kFolderVariable = "REELHAUL_BROWSERS";
constexpr std::string_view kSocketEnd = ".sock";
constexpr int kBacklog = 128;

#ifdef MSG_NOSIGNAL
constexpr int kSendFlags = MSG_NOSIGNAL;
#else
constexpr int kSendFlags = 0; // the socket itself is told, see NewSocket
#endif

/// The address of a path; false for one that is too long to be one.
bool AddressOf(std::string const& path, sockaddr_un& address) {
    address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path)
        return false;
    std::memcpy(address.sun_path, path.data(), path.size());
    return true;
}

void MakeQuiet(int fd) {
    fcntl(fd, F_SETFD, FD_CLOEXEC);
    fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK);
#ifdef SO_NOSIGPIPE
    int const on = 1;
    setsockopt(fd, SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof on);
#endif
}

HVDescriptor NewSocket() {
    HVDescriptor made(socket(AF_UNIX, SOCK_STREAM, 0));
    if (made.Valid())
        MakeQuiet(made.Get());
    return made;
}

/// 0, or the error's number.
int ConnectTo(std::string const& path, HVDescriptor& connection) {
    sockaddr_un address;
    if (!AddressOf(path, address))
        return ENAMETOOLONG;
    connection = NewSocket();
    if (!connection.Valid())
        return errno;
    return connect(connection.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 ? 0 : errno;
}

std::string FolderFault(std::string const& folder) {
    struct stat info {};
    if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST)
        return std::strerror(errno);
    if (lstat(folder.c_str(), &info) != 0)
        return std::strerror(errno);
    if (!S_ISDIR(info.st_mode) || info.st_uid != geteuid())
        return "it is not a folder of yours";
    if ((info.st_mode & 077) != 0 && chmod(folder.c_str(), 0700) != 0)
        return "others may enter it";
    return {};
}

} // namespace

std::string LocalSocketFolder(std::string& fault) {
    char const* const named = std::getenv(kFolderVariable);
    std::string folder = named != nullptr ? named : "";
    if (folder.empty()) {
        std::string const runtime = UserRuntimeFolder();
        folder = runtime.empty() ? "/tmp/reelhaul-" + std::to_string(geteuid()) : runtime + "/reelhaul";
    }
    fault = FolderFault(folder);
    if (fault.empty())
        return folder;
    fault = "The folder \"" + folder + "\" can't be used: " + fault + ".";
    return {};
}

std::vector<std::string> LocalSockets(std::string const& folder) {
    std::vector<std::pair<time_t, std::string>> found;
    DIR* const open = opendir(folder.c_str());
    if (open == nullptr)
        return {};
    while (dirent const* const entry = readdir(open)) {
        std::string const path = folder + "/" + entry->d_name;
        struct stat info {};
        if (path.ends_with(kSocketEnd) && lstat(path.c_str(), &info) == 0 && S_ISSOCK(info.st_mode))
            found.emplace_back(info.st_mtime, path);
    }
    closedir(open);
    std::sort(found.rbegin(), found.rend());
    std::vector<std::string> paths;
    paths.reserve(found.size());
    for (auto& [time, path] : found)
        paths.push_back(std::move(path));
    return paths;
}

int HVLocalListener::Open(std::string const& path) {
    std::string const hidden = path + ".new";
    sockaddr_un address;
    if (!AddressOf(hidden, address))
        return ENAMETOOLONG;
    unlink(hidden.c_str());
    listener_ = NewSocket();
    if (!listener_.Valid() ||
        bind(listener_.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        listen(listener_.Get(), kBacklog) != 0 || rename(hidden.c_str(), path.c_str()) != 0)
        return errno;
    path_ = path;
    return 0;
}

HVLocalListener::~HVLocalListener() {
    if (!path_.empty())
        unlink(path_.c_str());
}

HVDescriptor HVLocalListener::Accept() const {
    HVDescriptor connection(accept(listener_.Get(), nullptr, nullptr));
    if (!connection.Valid())
        return connection;
    MakeQuiet(connection.Get());
    return PeerIsThisUser(connection.Get()) ? std::move(connection) : HVDescriptor();
}

bool HVLocalConnection::Connect(std::string const& path) {
    HVDescriptor connection;
    int const error = ConnectTo(path, connection);
    if (error == ECONNREFUSED) // its process was killed
        unlink(path.c_str());
    if (error != 0 || !PeerIsThisUser(connection.Get()))
        return false;
    std::lock_guard const lock(mutex_);
    socket_ = std::move(connection);
    return !shut_;
}

void HVLocalConnection::Shut() {
    std::lock_guard const lock(mutex_);
    shut_ = true;
    if (socket_.Valid())
        shutdown(socket_.Get(), SHUT_RDWR);
}

namespace {

/// Waits until the socket can be read or written. False when the time has come.
bool Await(int fd, short event, Clock::time_point until) {
    for (;;) {
        auto const left = std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count();
        pollfd waited{fd, event, 0};
        int const ready = poll(&waited, 1, static_cast<int>(std::clamp<long long>(left, 0, 60'000)));
        if (ready > 0)
            return true;
        if (left <= 0 || (ready < 0 && errno != EINTR))
            return false;
    }
}

bool WouldBlock() {
    return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
}

} // namespace

HVLocalConnection::End HVLocalConnection::Send(std::string const& message, Time until) {
    std::string const frame = HVFrames::Frame(message);
    for (std::size_t sent = 0; sent < frame.size();) {
        if (!Await(socket_.Get(), POLLOUT, until))
            return End::TimeOut;
        ssize_t const length = send(socket_.Get(), frame.data() + sent, frame.size() - sent, kSendFlags);
        if (length < 0 && !WouldBlock())
            return End::Closed;
        sent += static_cast<std::size_t>(std::max<ssize_t>(length, 0));
    }
    return End::None;
}

HVLocalConnection::End HVLocalConnection::Receive(std::string& message, Time until) {
    std::vector<char> buffer(64UL * 1024);
    while (!frames_.Next(message)) {
        if (frames_.Broken())
            return End::Closed;
        if (!Await(socket_.Get(), POLLIN, until))
            return End::TimeOut;
        ssize_t const length = recv(socket_.Get(), buffer.data(), buffer.size(), 0);
        if (length == 0 || (length < 0 && !WouldBlock()))
            return End::Closed;
        if (length > 0)
            frames_.Append({buffer.data(), static_cast<std::size_t>(length)});
    }
    return End::None;
}

} // namespace Halvorn

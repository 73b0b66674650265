#include "HVPeer.h"

#include <climits>

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Halvorn {

namespace {

bool Credentials(int socket, ucred& peer) {
    socklen_t size = sizeof peer;
    return getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0;
}

} // namespace

bool PeerIsThisUser(int socket) {
    ucred peer{};
    return Credentials(socket, peer) && peer.uid == geteuid();
}

int PeerProcess(int socket) {
    ucred peer{};
    return Credentials(socket, peer) ? static_cast<int>(peer.pid) : 0;
}

std::string ProgramOfProcess(int process) {
    char path[PATH_MAX];
    std::string const link = "/proc/" + std::to_string(process) + "/exe";
    ssize_t const length = readlink(link.c_str(), path, sizeof path);
    return length > 0 ? std::string(path, static_cast<std::size_t>(length)) : std::string();
}

std::string UserRuntimeFolder() {
    // Not by XDG_RUNTIME_DIR: a program that was started by a timer has no such variable.
    std::string folder = "/run/user/" + std::to_string(geteuid());
    struct stat info {};
    bool const ours = stat(folder.c_str(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == geteuid();
    return ours ? folder : std::string();
}

} // namespace Halvorn

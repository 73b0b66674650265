#include "HVPeer.h"

#include <climits>

#include <libproc.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace Halvorn {

bool PeerIsThisUser(int socket) {
    uid_t user = 0;
    gid_t group = 0;
    return getpeereid(socket, &user, &group) == 0 && user == geteuid();
}

int PeerProcess(int socket) {
    pid_t process = 0;
    socklen_t size = sizeof process;
    return getsockopt(socket, SOL_LOCAL, LOCAL_PEERPID, &process, &size) == 0 ? process : 0;
}

std::string ProgramOfProcess(int process) {
    char path[PROC_PIDPATHINFO_MAXSIZE];
    int const length = proc_pidpath(process, path, sizeof path);
    return length > 0 ? std::string(path, static_cast<std::size_t>(length)) : std::string();
}

std::string UserRuntimeFolder() {
    char path[PATH_MAX];
    std::size_t const length = confstr(_CS_DARWIN_USER_TEMP_DIR, path, sizeof path);
    return length > 1 && length <= sizeof path ? std::string(path) : std::string();
}

} // namespace Halvorn

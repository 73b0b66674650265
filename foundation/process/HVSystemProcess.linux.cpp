#include "HVSystemProcess.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>

#include <dirent.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Halvorn {

int OpenPipe(std::array<int, 2>& ends) {
    return pipe2(ends.data(), O_CLOEXEC) == 0 ? 0 : errno;
}

int OpenSockets(std::array<int, 2>& ends) {
    return socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) == 0 ? 0 : errno;
}

int QuietSendFlag() {
    return MSG_NOSIGNAL;
}

int InheritStreamsOnly(void* actions, short& /*flags*/) {
    return posix_spawn_file_actions_addclosefrom_np(static_cast<posix_spawn_file_actions_t*>(actions), 3);
}

namespace {

enum class Membership { None, Alive, Unknown };

/// Whether the process of this number is alive and of the group (proc(5), "/proc/pid/stat"). Without an
/// allocation, since it runs where none may fail.
Membership MembershipOf(int proc, char const* number, int group) {
    char path[64];
    if (std::snprintf(path, sizeof path, "%s/stat", number) >= static_cast<int>(sizeof path)) // NOLINT
        return Membership::None;
    int const file = openat(proc, path, O_RDONLY | O_CLOEXEC);
    char text[512] = {};
    ssize_t const size = file < 0 ? -1 : read(file, text, sizeof text - 1);
    int const error = errno;
    if (file >= 0)
        close(file);
    if (size <= 0) // a process may end between any two of these calls
        return size == 0 || error == ENOENT || error == ESRCH ? Membership::None : Membership::Unknown;
    // The name in parentheses may hold anything; behind its end stand state, parent and group.
    char const* const behind = std::strrchr(text, ')');
    char state = 0;
    int parent = 0;
    int itsGroup = 0;
    if (behind == nullptr || std::sscanf(behind + 1, " %c %d %d", &state, &parent, &itsGroup) != 3) // NOLINT
        return Membership::Unknown;
    return itsGroup == group && state != 'Z' && state != 'X' ? Membership::Alive : Membership::None;
}

} // namespace

bool GroupIsAlive(int group) {
    if (kill(-group, 0) != 0 && errno == ESRCH)
        return false;
    // A signal reaches defunct processes as well, so its word is not enough.
    std::unique_ptr<DIR, int (*)(DIR*)> const folder(opendir("/proc"), &closedir);
    if (folder == nullptr)
        return true;
    while (dirent const* entry = readdir(folder.get()))
        if (entry->d_name[0] >= '0' && entry->d_name[0] <= '9' &&
            MembershipOf(dirfd(folder.get()), entry->d_name, group) != Membership::None)
            return true;
    return false;
}

void EnlargePipe(int fd) {
    constexpr int kBytes = 1 << 20;
    (void)fcntl(fd, F_SETPIPE_SZ,
                kBytes); // refused beyond the user's share of memory: then the default serves
}

HVExitNotifier::HVExitNotifier()
    : wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), failure_(wake_ < 0 ? errno : 0) {}

HVExitNotifier::~HVExitNotifier() {
    CloseInCopy();
}

bool HVExitNotifier::Watch(int pid) {
    exit_ = static_cast<int>(syscall(SYS_pidfd_open, pid, 0)); // close-on-exec by its nature
    return exit_ >= 0;
}

std::array<int, 2> HVExitNotifier::Descriptors(bool endKnown) const {
    // The notice of the end stays up until the child is reaped.
    return {endKnown ? -1 : exit_, wake_};
}

void HVExitNotifier::Wake() const {
    std::uint64_t const one = 1;
    (void)!write(wake_, &one, sizeof one);
}

void HVExitNotifier::Drain() const {
    std::uint64_t count = 0;
    (void)!read(wake_, &count, sizeof count);
}

void HVExitNotifier::CloseInCopy() const {
    if (exit_ >= 0)
        close(exit_);
    if (wake_ >= 0)
        close(wake_);
}

} // namespace Halvorn

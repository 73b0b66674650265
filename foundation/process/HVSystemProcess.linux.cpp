#include "HVSystemProcess.h"

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Halvorn {

int InheritStreamsOnly(posix_spawn_file_actions_t& actions, short& /*flags*/) {
    return posix_spawn_file_actions_addclosefrom_np(&actions, 3);
}

namespace {

/// Whether the process of this number is alive and of the group (proc(5), "/proc/pid/stat").
bool AliveInGroup(char const* number, pid_t group) {
    std::string const path = std::string("/proc/") + number + "/stat";
    std::unique_ptr<FILE, int (*)(FILE*)> const file(fopen(path.c_str(), "re"), &fclose);
    char text[512] = {};
    if (file == nullptr || fread(text, 1, sizeof text - 1, file.get()) == 0)
        return false;
    // The name in parentheses may hold anything; behind its end stand state, parent and group.
    char const* const behind = std::strrchr(text, ')');
    char state = 0;
    int parent = 0;
    int itsGroup = 0;
    return behind != nullptr &&
           std::sscanf(behind + 1, " %c %d %d", &state, &parent, &itsGroup) == 3 && // NOLINT
           itsGroup == group && state != 'Z' && state != 'X';
}

} // namespace

bool GroupIsAlive(pid_t group) {
    if (kill(-group, 0) != 0)
        return false;
    // Whoever adopts a group's orphans may take its time to reap them, so the signal's word is not enough.
    std::unique_ptr<DIR, int (*)(DIR*)> const folder(opendir("/proc"), &closedir);
    if (folder == nullptr)
        return true;
    while (dirent const* entry = readdir(folder.get()))
        if (entry->d_name[0] >= '0' && entry->d_name[0] <= '9' && AliveInGroup(entry->d_name, group))
            return true;
    return false;
}

void EnlargePipe(int fd) {
    constexpr int kBytes = 1 << 20;
    (void)fcntl(fd, F_SETPIPE_SZ,
                kBytes); // refused beyond the user's share of memory: then the default serves
}

HVExitNotifier::HVExitNotifier(pid_t pid)
    : exit_(static_cast<int>(syscall(SYS_pidfd_open, pid, 0))),
      wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

HVExitNotifier::~HVExitNotifier() {
    if (exit_ >= 0)
        close(exit_);
    if (wake_ >= 0)
        close(wake_);
}

void HVExitNotifier::Wake() const {
    std::uint64_t const one = 1;
    if (wake_ >= 0)
        (void)!write(wake_, &one, sizeof one);
}

void HVExitNotifier::Drain() const {
    std::uint64_t count = 0;
    if (wake_ >= 0)
        (void)!read(wake_, &count, sizeof count);
}

} // namespace Halvorn

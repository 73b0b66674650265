#include "HVSystemProcess.h"

#include <csignal>
#include <fcntl.h>
#include <sys/event.h>
#include <sys/proc.h>
#include <sys/sysctl.h>
#include <unistd.h>
#include <vector>

namespace Halvorn {

namespace {
constexpr uintptr_t kWakeIdentifier = 1;
}

int InheritStreamsOnly(posix_spawn_file_actions_t& /*actions*/, short& flags) {
    flags = static_cast<short>(flags | POSIX_SPAWN_CLOEXEC_DEFAULT);
    return 0;
}

bool GroupIsAlive(pid_t group) {
    if (kill(-group, 0) != 0)
        return false;
    int name[] = {CTL_KERN, KERN_PROC, KERN_PROC_PGRP, group};
    size_t size = 0;
    if (sysctl(name, 4, nullptr, &size, nullptr, 0) != 0)
        return true;
    std::vector<kinfo_proc> members(size / sizeof(kinfo_proc) + 8);
    size = members.size() * sizeof(kinfo_proc);
    if (sysctl(name, 4, members.data(), &size, nullptr, 0) != 0)
        return true;
    members.resize(size / sizeof(kinfo_proc));
    for (auto const& member : members)
        if (member.kp_proc.p_stat != SZOMB)
            return true;
    return false;
}

void EnlargePipe(int /*fd*/) {}

// One queue serves both ends: the child's end and the wake are two kinds of its events.
HVExitNotifier::HVExitNotifier(pid_t pid) : exit_(kqueue()) {
    if (exit_ < 0)
        return;
    (void)fcntl(exit_, F_SETFD, FD_CLOEXEC);
    struct kevent changes[2];
    EV_SET(&changes[0], kWakeIdentifier, EVFILT_USER, EV_ADD | EV_CLEAR, 0, 0, nullptr);
    EV_SET(&changes[1], static_cast<uintptr_t>(pid), EVFILT_PROC, EV_ADD | EV_ONESHOT, NOTE_EXIT, 0, nullptr);
    // A child that has ended already can't be watched any more; the wake then stands for its end.
    if (kevent(exit_, changes, 2, nullptr, 0, nullptr) != 0)
        Wake();
}

HVExitNotifier::~HVExitNotifier() {
    if (exit_ >= 0)
        close(exit_);
}

void HVExitNotifier::Wake() const {
    struct kevent change;
    EV_SET(&change, kWakeIdentifier, EVFILT_USER, 0, NOTE_TRIGGER, 0, nullptr);
    if (exit_ >= 0)
        (void)kevent(exit_, &change, 1, nullptr, 0, nullptr);
}

void HVExitNotifier::Drain() const {
    struct kevent events[2];
    struct timespec const now = {0, 0};
    if (exit_ >= 0)
        (void)kevent(exit_, nullptr, 0, events, 2, &now);
}

} // namespace Halvorn

#include "HVSystemProcess.h"

#include <cerrno>
#include <csignal>
#include <new>
#include <vector>

#include <dlfcn.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/event.h>
#include <sys/proc.h>
#include <sys/socket.h>
#include <sys/sysctl.h>
#include <unistd.h>

namespace Halvorn {

namespace {

constexpr uintptr_t kWakeIdentifier = 1;

/// Keeps the library in the process when the plug-in that has loaded it is unloaded: its threads run on.
/// Other systems have an option of the linker for that.
__attribute__((constructor)) void StayLoaded() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<void const*>(&StayLoaded), &info) != 0 && info.dli_fname != nullptr)
        (void)dlopen(info.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
}

} // namespace

int OpenPipe(std::array<int, 2>& ends) {
    // There is no call for both at once. Our own starts inherit nothing that they are not given; only a
    // program that the application starts in between could inherit an end.
    if (pipe(ends.data()) != 0)
        return errno;
    for (int const end : ends)
        (void)fcntl(end, F_SETFD, FD_CLOEXEC);
    return 0;
}

int OpenSockets(std::array<int, 2>& ends) {
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()) != 0)
        return errno;
    int const on = 1;
    for (int const end : ends) {
        (void)fcntl(end, F_SETFD, FD_CLOEXEC);
        (void)setsockopt(end, SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof on);
    }
    return 0;
}

int QuietSendFlag() {
    return 0; // the sockets have it
}

int InheritStreamsOnly(void* /*actions*/, short& flags) {
    flags = static_cast<short>(flags | POSIX_SPAWN_CLOEXEC_DEFAULT);
    return 0;
}

bool GroupIsAlive(int group) {
    if (kill(-group, 0) != 0 && errno == ESRCH)
        return false;
    int name[] = {CTL_KERN, KERN_PROC, KERN_PROC_PGRP, group};
    size_t size = 0;
    if (sysctl(name, 4, nullptr, &size, nullptr, 0) != 0)
        return true;
    try {
        std::vector<kinfo_proc> members(size / sizeof(kinfo_proc) + 8);
        size = members.size() * sizeof(kinfo_proc);
        if (sysctl(name, 4, members.data(), &size, nullptr, 0) != 0)
            return true;
        members.resize(size / sizeof(kinfo_proc));
        for (auto const& member : members)
            if (member.kp_proc.p_stat != SZOMB)
                return true;
        return false;
    } catch (std::bad_alloc const&) {
        return true;
    }
}

void EnlargePipe(int /*fd*/) {}

// One queue serves both: the child's end and the wake are two kinds of its events. It is not inherited by a
// forked copy, so there is nothing to close there.
HVExitNotifier::HVExitNotifier() : exit_(kqueue()), failure_(exit_ < 0 ? errno : 0) {
    if (exit_ < 0)
        return;
    (void)fcntl(exit_, F_SETFD, FD_CLOEXEC);
    struct kevent change;
    EV_SET(&change, kWakeIdentifier, EVFILT_USER, EV_ADD | EV_CLEAR, 0, 0, nullptr);
    if (kevent(exit_, &change, 1, nullptr, 0, nullptr) != 0)
        failure_ = errno;
}

HVExitNotifier::~HVExitNotifier() {
    if (exit_ >= 0)
        close(exit_);
}

bool HVExitNotifier::Watch(int pid) {
    struct kevent change;
    EV_SET(&change, static_cast<uintptr_t>(pid), EVFILT_PROC, EV_ADD | EV_ONESHOT, NOTE_EXIT, 0, nullptr);
    if (kevent(exit_, &change, 1, nullptr, 0, nullptr) == 0)
        return true;
    // A child that has ended already can't be watched any more; the wake then stands for its end.
    bool const ended = errno == ESRCH;
    Wake();
    return ended;
}

std::array<int, 2> HVExitNotifier::Descriptors(bool /*endKnown*/) const {
    return {exit_, -1};
}

void HVExitNotifier::Wake() const {
    struct kevent change;
    EV_SET(&change, kWakeIdentifier, EVFILT_USER, 0, NOTE_TRIGGER, 0, nullptr);
    (void)kevent(exit_, &change, 1, nullptr, 0, nullptr);
}

void HVExitNotifier::Drain() const {
    struct kevent events[2];
    struct timespec const now = {0, 0};
    (void)kevent(exit_, nullptr, 0, events, 2, &now);
}

void HVExitNotifier::CloseInCopy() const {}

} // namespace Halvorn

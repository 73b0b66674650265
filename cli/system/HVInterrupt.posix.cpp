#include "HVInterrupt.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace Halvorn {

namespace {

constexpr std::array kSignals{SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGTSTP};
constexpr char kQuit = 'q';
constexpr char kInterrupt = 'i';
constexpr char kSuspend = 's';

// What the handler reaches: a pipe's two ends, open as long as the process runs so that a late signal can
// never write into a file that took the number.
std::array<int, 2> gPipe{-1, -1};

void Tell(char what) {
    // The interrupted code still needs its errno.
    int const before = errno;
    [[maybe_unused]] auto const written = write(gPipe[1], &what, 1);
    errno = before;
}

extern "C" void HVInterruptHandler(int signal) {
    if (signal != SIGPIPE)
        Tell(signal == SIGTSTP ? kSuspend : kInterrupt);
}

void Handle(int signal, void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

bool IsHandled(int signal) {
    struct sigaction now {};
    return sigaction(signal, nullptr, &now) == 0 && now.sa_handler == HVInterruptHandler;
}

bool OpenPipe() {
    if (gPipe[0] >= 0)
        return true;
    if (pipe(gPipe.data()) != 0)
        return false;
    for (int const end : gPipe)
        fcntl(end, F_SETFD, FD_CLOEXEC);
    // A pipe full of signals must not hold up the handler.
    fcntl(gPipe[1], F_SETFL, O_NONBLOCK);
    return true;
}

} // namespace

HVInterrupt::HVInterrupt(Functions functions) : functions_(std::move(functions)) {
    if (!OpenPipe())
        return;
    for (int const signal : kSignals) {
        struct sigaction before {};
        sigaction(signal, nullptr, &before);
        // A signal that our parent has ignored (nohup, a shell's background) stays ignored.
        if (before.sa_handler != SIG_IGN)
            Handle(signal, HVInterruptHandler);
    }
    watcher_ = std::thread([this] { Watch(); });
}

HVInterrupt::~HVInterrupt() {
    if (!watcher_.joinable())
        return;
    Tell(kQuit);
    watcher_.join();
    if (IsHandled(SIGTSTP))
        Handle(SIGTSTP, SIG_DFL);
}

void HVInterrupt::Watch() const {
    for (;;) {
        char what = 0;
        auto const count = read(gPipe[0], &what, 1);
        if (count < 0 && errno == EINTR)
            continue;
        if (count != 1 || what == kQuit)
            return;
        if (what == kSuspend)
            Suspend();
        else
            functions_.interrupted();
    }
}

void HVInterrupt::Suspend() const {
    functions_.suspending();
    Handle(SIGTSTP, SIG_DFL);
    // Sent to this thread, the signal stops the whole process before the call returns; sent to the process,
    // this thread could run on for a moment.
    std::raise(SIGTSTP);
    Handle(SIGTSTP, HVInterruptHandler);
    functions_.resumed();
}

} // namespace Halvorn

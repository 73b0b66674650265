#include "HVInterrupt.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace Halvorn {

namespace {

constexpr std::array kSignals{SIGINT, SIGTERM, SIGHUP, SIGPIPE};
constexpr char kQuit = 'q';
constexpr char kInterrupt = 'i';

// What the handler reaches: a pipe's two ends, open as long as the process runs so that a late signal can
// never write into a file that took the number.
std::array<int, 2> gPipe{-1, -1};

void Tell(char what) {
    // Errno belongs to whatever the signal interrupted.
    int const before = errno;
    [[maybe_unused]] auto const written = write(gPipe[1], &what, 1);
    errno = before;
}

extern "C" void HVInterruptHandler(int signal) {
    if (signal != SIGPIPE)
        Tell(kInterrupt);
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

HVInterrupt::HVInterrupt(std::function<void()> function) : function_(std::move(function)) {
    if (!OpenPipe())
        return;
    struct sigaction action {};
    action.sa_handler = HVInterruptHandler;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (int const signal : kSignals) {
        struct sigaction before {};
        sigaction(signal, nullptr, &before);
        // Whoever started us with a signal ignored (nohup, a shell's background) wants it ignored.
        if (before.sa_handler != SIG_IGN)
            sigaction(signal, &action, nullptr);
    }
    watcher_ = std::thread([this] { Watch(); });
}

HVInterrupt::~HVInterrupt() {
    if (!watcher_.joinable())
        return;
    Tell(kQuit);
    watcher_.join();
}

void HVInterrupt::Watch() const {
    for (;;) {
        char what = 0;
        auto const count = read(gPipe[0], &what, 1);
        if (count < 0 && errno == EINTR)
            continue;
        if (count != 1 || what == kQuit)
            return;
        function_();
    }
}

} // namespace Halvorn

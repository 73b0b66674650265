#include "HVTerminal.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace Halvorn {

namespace {

constexpr int kInterrupted = 130;

volatile std::sig_atomic_t gPromptInterrupted = 0;

extern "C" void HVPromptHandler(int /*signal*/) {
    gPromptInterrupted = 1;
}

void WriteText(int descriptor, std::string const& text) {
    [[maybe_unused]] auto const written = write(descriptor, text.data(), text.size());
}

/// Takes the echo from a terminal while it lives, and catches an interrupt so that the echo comes back.
class HiddenInput {
public:
    HiddenInput() {
        struct sigaction action {};
        action.sa_handler = HVPromptHandler; // without SA_RESTART: the read ends
        sigemptyset(&action.sa_mask);
        sigaction(SIGINT, &action, &interrupt_);
        sigaction(SIGTERM, &action, &terminate_);
        tcgetattr(STDIN_FILENO, &before_);
        termios hidden = before_;
        hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
    }
    ~HiddenInput() {
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_);
        sigaction(SIGINT, &interrupt_, nullptr);
        sigaction(SIGTERM, &terminate_, nullptr);
    }
    HiddenInput(HiddenInput const&) = delete;
    HiddenInput& operator=(HiddenInput const&) = delete;

private:
    termios before_{};
    struct sigaction interrupt_ {};
    struct sigaction terminate_ {};
};

/// One byte at a time: what stands behind the line belongs to the next reader.
std::optional<std::string> ReadLine() {
    std::string line;
    for (;;) {
        char next = 0;
        auto const count = read(STDIN_FILENO, &next, 1);
        if (count < 0 && errno == EINTR && gPromptInterrupted == 0)
            continue;
        if (count <= 0)
            return line.empty() ? std::nullopt : std::optional(line);
        if (next == '\n')
            return line;
        if (next != '\r')
            line += next;
    }
}

} // namespace

bool IsTerminal(HVStream stream) {
    return isatty(static_cast<int>(stream)) == 1;
}

bool IsLiveTerminal(HVStream stream) {
    char const* const kind = std::getenv("TERM");
    return IsTerminal(stream) && kind != nullptr && *kind != '\0' && std::strcmp(kind, "dumb") != 0;
}

HVTerminalSize TerminalSize(HVStream stream) {
    winsize size{};
    if (ioctl(static_cast<int>(stream), TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0)
        return {80, 24};
    return {size.ws_col, size.ws_row};
}

std::optional<std::string> ReadSecret(std::string const& prompt) {
    if (!IsTerminal(HVStream::Input))
        return ReadLine();
    std::optional<std::string> line;
    {
        HiddenInput const hidden;
        WriteText(STDERR_FILENO, prompt);
        line = ReadLine();
    }
    WriteText(STDERR_FILENO, "\n");
    if (gPromptInterrupted != 0)
        std::exit(kInterrupted);
    return line;
}

} // namespace Halvorn

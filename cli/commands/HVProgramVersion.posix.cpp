#include "HVProgramVersion.h"

#include "HVToolSetUp.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <poll.h>
#include <set>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ; // NOLINT(readability-redundant-declaration): not every system declares it

namespace Halvorn {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// Some programs unpack themselves at each start.
constexpr std::chrono::seconds kLimit{20};
constexpr milliseconds kStep{50};
constexpr std::size_t kEnough = 4096;

/// The groups of the programs that run, which must not outlive the command: they don't hear of Ctrl-C. Never
/// destroyed, since a program may be asked while the process ends.
struct Groups {
    std::mutex mutex;
    std::set<pid_t> running;

    static Groups& Shared() {
        static auto* groups = [] {
            std::atexit([] {
                std::lock_guard const lock(Shared().mutex);
                for (pid_t const group : Shared().running)
                    kill(-group, SIGKILL);
            });
            return new Groups;
        }();
        return *groups;
    }
    void Add(pid_t group) {
        std::lock_guard const lock(mutex);
        running.insert(group);
    }
    /// Whether the program has ended; its group's number is free from then on.
    bool Reap(pid_t group, int& status) {
        std::lock_guard const lock(mutex);
        pid_t const reaped = waitpid(group, &status, WNOHANG);
        if (reaped == 0 || (reaped < 0 && errno == EINTR))
            return false;
        running.erase(group);
        return true;
    }
};

/// The process's number, with `output` as the reading end of what it prints; or -1, with errno set.
pid_t Start(std::string const& path, std::string const& argument, int& output) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0)
        return -1;
    for (int const end : ends)
        fcntl(end, F_SETFD, FD_CLOEXEC);
    posix_spawn_file_actions_t actions{};
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDERR_FILENO);
    posix_spawnattr_t attributes{};
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    std::string program = path;
    std::string option = argument;
    std::array<char*, 3> const arguments{program.data(), option.data(), nullptr};
    pid_t child = -1;
    int const fault = posix_spawn(&child, path.c_str(), &actions, &attributes, arguments.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    output = ends[0];
    if (fault == 0)
        return child;
    close(output);
    errno = fault;
    return -1;
}

/// Reads what there is, after waiting a moment for it. False when there is nothing.
bool ReadSome(int output, milliseconds patience, std::string& text) {
    std::array<char, 4096> chunk{};
    pollfd wait{output, POLLIN, 0};
    if (poll(&wait, 1, static_cast<int>(patience.count())) <= 0)
        return false;
    auto const count = read(output, chunk.data(), chunk.size());
    if (count > 0 && text.size() < kEnough)
        text.append(chunk.data(), static_cast<std::size_t>(count));
    return count > 0;
}

/// Runs the program to its end; false when that takes too long and it is ended with all that it has started.
bool Finish(pid_t child, int output, std::string& text, int& status) {
    auto const deadline = Clock::now() + kLimit;
    bool late = false;
    // Whoever else holds the output when the program has ended is not waited for.
    while (!Groups::Shared().Reap(child, status)) {
        if (!ReadSome(output, kStep, text))
            poll(nullptr, 0, 1); // a program that has closed its output
        if (!late && Clock::now() > deadline) {
            late = true;
            kill(-child, SIGKILL);
        }
    }
    while (ReadSome(output, milliseconds(0), text)) {
    }
    return !late;
}

std::string StartFault(int error) {
    if (error == ENOEXEC)
        return "is no program";
    return error == ENOENT ? "the program that it is to be run with is missing"
                           : std::string("can't be started: ") + std::strerror(error);
}

std::string FirstLine(std::string const& text) {
    auto const begin = text.find_first_not_of(" \t\r\n");
    return begin == std::string::npos ? std::string()
                                      : text.substr(begin, text.find_first_of("\r\n", begin) - begin);
}

} // namespace

HVProgramVersion AskVersion(std::string const& path, std::string const& argument) {
    if (std::string fault = ProgramFault(path); !fault.empty())
        return {{}, fault};
    int output = -1;
    pid_t const child = Start(path, argument, output);
    if (child < 0)
        return {{}, StartFault(errno)};
    Groups::Shared().Add(child);
    std::string text;
    int status = 0;
    bool const ended = Finish(child, output, text, status);
    close(output);
    if (!ended)
        return {{}, "does not end"};
    std::string const line = FirstLine(text);
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0 && !line.empty())
        return {line, {}};
    return {{}, "does not run: " + (line.empty() ? std::string("it prints nothing") : line)};
}

} // namespace Halvorn

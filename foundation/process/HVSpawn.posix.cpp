#include "HVSpawn.h"
#include "HVSystemProcess.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <type_traits>
#include <utility>

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <unistd.h>

extern "C" char** environ; // NOLINT(readability-redundant-declaration): not every system declares it

namespace Halvorn {

namespace {

static_assert(std::is_same_v<pid_t, int>, "process ids are ints outside the sources for one system");

constexpr char kNullDevice[] = "/dev/null";

/// The actions and attributes of one start, freed at the end of the scope.
struct SpawnSetup {
    posix_spawn_file_actions_t actions{};
    posix_spawnattr_t attributes{};
    SpawnSetup() {
        posix_spawn_file_actions_init(&actions);
        posix_spawnattr_init(&attributes);
    }
    ~SpawnSetup() {
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attributes);
    }
    SpawnSetup(SpawnSetup const&) = delete;
    SpawnSetup& operator=(SpawnSetup const&) = delete;

    int SetStream(int target, int fd, int mode) {
        if (fd < 0)
            return posix_spawn_file_actions_addopen(&actions, target, kNullDevice, mode, 0);
        return posix_spawn_file_actions_adddup2(&actions, fd, target);
    }
    int SetAttributes() {
        // A session of its own makes a group of its own, and leaves the child without the application's
        // terminal: a tool that wants to ask there for a password would only be stopped, and wait for ever.
        short flags = POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
        if (int const error = InheritStreamsOnly(&actions, flags); error != 0)
            return error;
        // A child inherits what the application blocks and ignores. The tool would not end at a request that
        // is ignored, nor notice that nobody reads what it prints.
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        sigdelset(&all, SIGKILL);
        sigdelset(&all, SIGSTOP);
        posix_spawnattr_setsigmask(&attributes, &none);
        posix_spawnattr_setsigdefault(&attributes, &all);
        return posix_spawnattr_setflags(&attributes, flags);
    }
};

std::vector<char*> Pointers(std::vector<std::string> const& texts, std::string const* first) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 2);
    if (first != nullptr)
        pointers.push_back(const_cast<char*>(first->c_str())); // NOLINT: exec's own signature
    for (auto const& text : texts)
        pointers.push_back(const_cast<char*>(text.c_str())); // NOLINT: exec's own signature
    pointers.push_back(nullptr);
    return pointers;
}

std::string RuntimeFolder(std::string const& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode))
        return path;
    auto const slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash == 0 ? 1 : slash);
}

} // namespace

int HVPipe::Open() {
    std::array<int, 2> ends{-1, -1};
    if (int const error = OpenPipe(ends); error != 0)
        return error;
    read = HVDescriptor(ends[0]);
    write = HVDescriptor(ends[1]);
    return 0;
}

int Spawn(HVSpawnRequest const& request, int& pid) {
    SpawnSetup setup;
    int error = setup.SetStream(STDIN_FILENO, request.input, O_RDONLY);
    if (error == 0)
        error = setup.SetStream(STDOUT_FILENO, request.output, O_WRONLY);
    if (error == 0)
        error = setup.SetStream(STDERR_FILENO, request.error, O_WRONLY);
    if (error == 0)
        error = setup.SetAttributes();
    if (error != 0)
        return error;
    auto const args = Pointers(request.args, &request.exe);
    auto const environment = Pointers(request.environment, nullptr);
    return posix_spawn(&pid, request.exe.c_str(), &setup.actions, &setup.attributes, args.data(),
                       environment.data());
}

std::vector<std::string> ChildEnvironment(std::string const& runtimePath, std::string const& pythonPath) {
    std::vector<std::string> result;
    std::string path = "/usr/bin:/bin:/usr/sbin:/sbin";
    std::string modules = pythonPath;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        std::string text(*entry);
        if (text.rfind("PATH=", 0) == 0)
            path = text.substr(5);
        else if (text.rfind("PYTHONPATH=", 0) == 0)
            modules += (modules.empty() ? "" : ":") + text.substr(11);
        else if (text.rfind("PYTHONUTF8=", 0) != 0)
            result.push_back(std::move(text));
    }
    std::string const folder = runtimePath.empty() ? std::string() : RuntimeFolder(runtimePath);
    result.push_back("PATH=" + (folder.empty() ? path : folder + ":" + path));
    if (!modules.empty())
        result.push_back("PYTHONPATH=" + modules);
    result.emplace_back("PYTHONUTF8=1");
    return result;
}

bool WriteQuietly(int fd, std::string_view text) {
    sigset_t pipeSignal;
    sigset_t before;
    sigset_t pending;
    sigemptyset(&pipeSignal);
    sigaddset(&pipeSignal, SIGPIPE);
    sigpending(&pending);
    bool const wasPending = sigismember(&pending, SIGPIPE) == 1;
    pthread_sigmask(SIG_BLOCK, &pipeSignal, &before);
    ssize_t const written = write(fd, text.data(), text.size());
    if (written < 0 && errno == EPIPE && !wasPending) {
        // The signal of this write is ours to take back before the mask opens again.
        int signal = 0;
        sigpending(&pending);
        if (sigismember(&pending, SIGPIPE) == 1)
            sigwait(&pipeSignal, &signal);
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return written == static_cast<ssize_t>(text.size());
}

} // namespace Halvorn

#include "HVChildProcess.h"
#include "HVGuardian.h"
#include "HVProcessEnd.h"
#include "IHVLogConfig.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <map>
#include <poll.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace Halvorn {

namespace {

constexpr std::size_t kReadSize = 256UL * 1024;
/// From the request to end to the kill.
constexpr auto kGrace = std::chrono::milliseconds(1500);
/// From the kill to the end of the wait for what no system call can hurry (a defunct grandchild that nobody
/// reaps).
constexpr auto kAfterKill = std::chrono::milliseconds(1000);
/// How often a group is looked at that outlives its leader.
constexpr int kGroupPollMilliseconds = 5;

/// All running children, and whether the process is at its end. Never destroyed.
struct Registry {
    std::mutex mutex;
    std::atomic<bool> ending = false;
    std::map<pid_t, std::shared_ptr<HVChildProcess>> children;

    static Registry& Shared() {
        static auto* registry = [] {
            SetProcessEndFunction(HVEndStage::Children, &HVChildProcess::EndAll);
            return new Registry;
        }();
        return *registry;
    }
};

std::atomic<bool> gMuted = false;

} // namespace

HVChildProcess::HVChildProcess(HVChildSetup setup, pid_t pid, HVDescriptor output, HVDescriptor error)
    : setup_(std::move(setup)), pid_(pid), output_{std::move(output), std::move(setup_.outputHandler)},
      error_{std::move(error), std::move(setup_.errorHandler)}, notifier_(pid) {}

int HVChildProcess::Start(HVChildSetup setup, std::shared_ptr<HVChildProcess>& child) {
    auto& registry = Registry::Shared();
    HVPipe output;
    HVPipe error;
    if (!output.Open() || !error.Open())
        return errno;
    for (int const fd : {output.read.Get(), error.read.Get()})
        (void)fcntl(fd, F_SETFL, O_NONBLOCK);
    EnlargePipe(output.read.Get());

    HVSpawnRequest const request{
        setup.exe, setup.args,         ChildEnvironment(setup.runtimePath, setup.pythonPath),
        -1,        output.write.Get(), error.write.Get()};
    if (registry.ending)
        return ECANCELED;
    pid_t pid = -1;
    if (int const failure = Spawn(request, pid); failure != 0)
        return failure;
    HVGuardian::Shared().Watch(pid);
    try {
        child = std::make_shared<HVChildProcess>(std::move(setup), pid, std::move(output.read),
                                                 std::move(error.read));
        {
            std::lock_guard const lock(registry.mutex);
            registry.children[pid] = child;
        }
        std::thread([self = child] { self->Run(); }).detach();
    } catch (std::exception const&) {
        kill(-pid, SIGKILL);
        waitpid(pid, nullptr, 0);
        std::lock_guard const lock(registry.mutex);
        registry.children.erase(pid);
        HVGuardian::Shared().Forget(pid);
        child = nullptr;
        return EAGAIN;
    }
    // One that slipped past the end of the process is ended like the others.
    if (registry.ending)
        child->Terminate();
    return 0;
}

void HVChildProcess::EndAll() {
    auto& registry = Registry::Shared();
    std::map<pid_t, std::shared_ptr<HVChildProcess>> children;
    // The application is gone but for its memory: none of its functions may be called any more.
    gMuted = true;
    registry.ending = true;
    {
        std::lock_guard const lock(registry.mutex);
        children = registry.children;
    }
    for (auto const& [pid, child] : children)
        child->Terminate();
    auto const limit = Clock::now() + kGrace + kAfterKill + kGrace;
    for (auto const& [pid, child] : children) {
        auto const left = std::chrono::duration_cast<std::chrono::milliseconds>(limit - Clock::now()).count();
        child->ended_.Wait(static_cast<unsigned int>(std::max<long long>(left, 0)));
    }
    HVGuardian::Shared().Dismiss();
}

void HVChildProcess::Terminate() {
    terminating_ = true;
    SignalGroup(SIGTERM);
    notifier_.Wake();
}

void HVChildProcess::SignalGroup(int signal) {
    std::lock_guard const lock(mutex_);
    if (!groupGone_)
        kill(-pid_, signal);
}

void HVChildProcess::OnExit(std::function<void()> function) {
    {
        std::lock_guard const lock(mutex_);
        if (!exited_) {
            onExit_.push_back(std::move(function));
            return;
        }
    }
    function();
}

HVChildEnd HVChildProcess::End() const {
    std::lock_guard const lock(mutex_);
    return end_;
}

std::shared_ptr<IHVError const> HVChildProcess::DeliveryError() const {
    std::lock_guard const lock(mutex_);
    return deliveryError_;
}

void HVChildProcess::Run() {
    std::string buffer(kReadSize, '\0');
    while (!Over())
        Step(buffer);
    // Whoever holds the pipes now is not of the group; what the group wrote is still to be read.
    for (auto* stream : {&output_, &error_})
        for (std::size_t rest = 0; stream->fd.Valid() && rest < (2U << 20); rest += kReadSize)
            Read(*stream, buffer);
    Finish();
}

void HVChildProcess::Step(std::string& buffer) {
    auto const extra = notifier_.Descriptors();
    // The notice of the end stays up until the child is reaped, so it is not polled afterwards.
    pollfd polled[4] = {{output_.fd.Get(), POLLIN, 0},
                        {error_.fd.Get(), POLLIN, 0},
                        {childGone_ ? -1 : extra[0], POLLIN, 0},
                        {extra[1], POLLIN, 0}};
    if (poll(polled, 4, PollTimeout()) < 0 && errno != EINTR)
        std::this_thread::sleep_for(std::chrono::milliseconds(kGroupPollMilliseconds));
    if (polled[0].revents != 0)
        Read(output_, buffer);
    if (polled[1].revents != 0)
        Read(error_, buffer);
    if (polled[2].revents != 0 || polled[3].revents != 0)
        notifier_.Drain();
    LookAfterChild();
    LookAfterGroup();
    Insist();
}

void HVChildProcess::Read(Stream& stream, std::string& buffer) {
    ssize_t const size = read(stream.fd.Get(), buffer.data(), buffer.size());
    if (size > 0) {
        Deliver(stream, buffer.data(), static_cast<std::size_t>(size));
    } else if (size == 0 || (errno != EAGAIN && errno != EINTR)) {
        stream.fd.Reset();
    }
}

void HVChildProcess::Deliver(Stream& stream, char const* bytes, std::size_t size) {
    char const* const end = bytes + size;
    while (bytes != end && stream.handler) {
        // A carriage return begins an update of a progress line: one update is one chunk.
        char const* next = bytes;
        while (next != end && *next == '\r')
            ++next;
        auto const* cut =
            static_cast<char const*>(std::memchr(next, '\r', static_cast<std::size_t>(end - next)));
        if (cut == nullptr)
            cut = end;
        CallHandler(stream, std::string(bytes, cut));
        bytes = cut;
    }
}

void HVChildProcess::CallHandler(Stream& stream, std::string chunk) {
    if (gMuted)
        return;
    try {
        stream.handler(IHVData::MallocData(std::move(chunk)));
        return;
    } catch (std::exception const& failure) {
        KeepFailure(failure.what());
    } catch (...) {
        KeepFailure("unknown failure");
    }
    stream.handler = nullptr;
    Terminate();
}

void HVChildProcess::KeepFailure(char const* what) {
    IHVLogConfig::Printf(IHVLogConfig::LogLevelError, "The tool's output could not be read: %s", what);
    auto error = IHVError::MallocError("HVTask", __LINE__, "Deliver", -1, "Error",
                                       "The tool's output could not be read: %s", what);
    std::lock_guard const lock(mutex_);
    if (deliveryError_ == nullptr)
        deliveryError_ = std::move(error);
}

void HVChildProcess::LookAfterChild() {
    if (childGone_)
        return;
    {
        std::lock_guard const lock(mutex_);
        // A child that other code of the process has reaped is gone as well.
        int status = 0;
        pid_t const result = waitpid(pid_, &status, WNOHANG);
        childGone_ = result == pid_ || (result < 0 && errno == ECHILD);
        if (result == pid_)
            end_ = {true, WIFEXITED(status) ? WEXITSTATUS(status) : 0,
                    WIFSIGNALED(status) ? WTERMSIG(status) : 0};
    }
    if (childGone_ && setup_.endsWithLeader)
        Terminate();
}

void HVChildProcess::LookAfterGroup() {
    if (!childGone_)
        return;
    std::lock_guard const lock(mutex_);
    groupGone_ = groupGone_ || !GroupIsAlive(pid_);
}

void HVChildProcess::Insist() {
    auto const now = Clock::now();
    if (!terminating_)
        return;
    if (insistAt_ == Clock::time_point::max()) {
        insistAt_ = now + kGrace;
    } else if (!killed_ && now >= insistAt_) {
        killed_ = true;
        SignalGroup(SIGKILL);
    }
}

bool HVChildProcess::Over() {
    if (!childGone_)
        return false;
    {
        std::lock_guard const lock(mutex_);
        if (groupGone_)
            return true;
    }
    if (terminating_)
        return killed_ && Clock::now() >= insistAt_ + kAfterKill;
    return !PipesOpen();
}

int HVChildProcess::PollTimeout() const {
    if (childGone_)
        return kGroupPollMilliseconds;
    auto until = Clock::time_point::max();
    if (terminating_)
        until = killed_ ? until : std::min(insistAt_, Clock::now() + kGrace);
    int timeout = notifier_.TellsExit() ? -1 : kGroupPollMilliseconds;
    if (until != Clock::time_point::max()) {
        auto const left =
            std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count() + 1;
        auto const wait = static_cast<int>(std::clamp<long long>(left, 0, 60'000));
        timeout = timeout < 0 ? wait : std::min(timeout, wait);
    }
    return timeout;
}

void HVChildProcess::Finish() {
    HVGuardian::Shared().Forget(pid_);
    output_.fd.Reset();
    output_.handler = nullptr;
    error_.fd.Reset();
    error_.handler = nullptr;
    {
        std::lock_guard const lock(mutex_);
        groupGone_ = true;
    }
    CallExitFunctions();
    {
        auto& registry = Registry::Shared();
        std::lock_guard const lock(registry.mutex);
        registry.children.erase(pid_);
    }
    ended_.Raise();
}

void HVChildProcess::CallExitFunctions() {
    while (true) {
        std::vector<std::function<void()>> functions;
        {
            std::lock_guard const lock(mutex_);
            exited_ = onExit_.empty();
            functions.swap(onExit_);
        }
        if (functions.empty())
            return;
        for (auto const& function : functions) {
            try {
                function();
            } catch (std::exception const& failure) {
                IHVLogConfig::Printf(IHVLogConfig::LogLevelError, "After the end of a child: %s",
                                     failure.what());
            }
        }
    }
}

} // namespace Halvorn

// The life of a child, from the view of its delivery thread; its start stands in HVChildRegistry.posix.cpp.

#include "HVChildProcess.h"
#include "HVApplicationCall.h"
#include "HVChildRegistry.h"
#include "HVGuardian.h"
#include "IHVLogConfig.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <thread>
#include <utility>

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Halvorn {

namespace {

constexpr std::size_t kReadSize = 256UL * 1024;
/// How much is still read of a stream that a stranger to the group holds.
constexpr std::size_t kMostRest = 2UL * 1024 * 1024;
/// From the request to end to the kill.
constexpr auto kGrace = HVChildRegistry::kGrace;
/// From the kill to the end of the wait for zombies that nobody reaps.
constexpr auto kAfterKill = HVChildRegistry::kAfterKill;
/// How often a group is looked at that outlives its leader: each look goes through all processes. The wait
/// doubles from the first to the longest one.
constexpr std::chrono::milliseconds kBeforeGroupLook(1);
constexpr std::chrono::milliseconds kFirstGroupWait(5);
constexpr std::chrono::milliseconds kLongestGroupWait(100);
/// The longest for a group that is not asked to end: it may work for hours.
constexpr std::chrono::milliseconds kLongestWorkingGroupWait(1000);
/// How often a child is looked at whose end no descriptor tells.
constexpr int kChildPollMilliseconds = 20;
constexpr int kLongestPollMilliseconds = 60'000;

/// What a handler threw, in words.
std::string WordsOf(std::exception_ptr const& failure) {
    try {
        std::rethrow_exception(failure);
    } catch (std::exception const& exception) {
        return exception.what();
    } catch (...) {
        return "unknown failure";
    }
}

} // namespace

HVChildProcess::HVChildProcess(HVChildSetup setup) : setup_(std::move(setup)), buffer_(kReadSize, '\0') {
    output_.handler = std::move(setup_.outputHandler);
    error_.handler = std::move(setup_.errorHandler);
}

void HVChildProcess::Terminate() {
    terminating_ = true;
    SignalGroup(SIGTERM);
    // A halted process hears of nothing but the kill, and would leave its files as they are.
    SignalGroup(SIGCONT);
    notifier_.Wake();
}

void HVChildProcess::Interrupt() {
    // One that was asked to end may take it for a second request, and leave its files as they are.
    if (!terminating_)
        SignalGroup(SIGINT);
}

void HVChildProcess::Suspend(bool suspend) {
    // A child that was asked to end has to run for that.
    if (!suspend || !terminating_)
        SignalGroup(suspend ? SIGSTOP : SIGCONT);
}

void HVChildProcess::SignalGroup(int signal) {
    std::lock_guard const lock(mutex_);
    if (finished_)
        return;
    touched_ = true;
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
    std::exception_ptr failure;
    {
        std::lock_guard const lock(mutex_);
        failure = deliveryFailure_;
    }
    if (failure == nullptr)
        return nullptr;
    return IHVError::MallocError("HVTask", __LINE__, "Deliver", -1, "Error",
                                 "The tool's output could not be read: %s", WordsOf(failure).c_str());
}

void HVChildProcess::Run() {
    while (!Over())
        Step();
    // What holds the pipes now is not of the group; what the group wrote is still to be read.
    for (auto* stream : {&output_, &error_})
        for (std::size_t rest = 0; stream->fd.Valid() && rest < kMostRest; rest += kReadSize)
            Read(*stream);
    Finish();
}

void HVChildProcess::Step() {
    auto const extra = notifier_.Descriptors(ChildEnded());
    pollfd polled[5] = {{output_.fd.Get(), POLLIN, 0},
                        {error_.fd.Get(), POLLIN, 0},
                        {extra[0], POLLIN, 0},
                        {extra[1], POLLIN, 0},
                        {leader_->Descriptor(), POLLIN, 0}};
    if (poll(polled, 5, PollTimeout()) < 0 && errno != EINTR)
        std::this_thread::sleep_for(std::chrono::milliseconds(kChildPollMilliseconds));
    if (polled[0].revents != 0)
        Read(output_);
    if (polled[1].revents != 0)
        Read(error_);
    if (polled[2].revents != 0 || polled[3].revents != 0)
        notifier_.Drain();
    LookAfterChild();
    LookAfterGroup();
    Insist();
}

void HVChildProcess::Read(Stream& stream) {
    ssize_t const size = read(stream.fd.Get(), buffer_.data(), buffer_.size());
    if (size > 0) {
        Deliver(stream, buffer_.data(), static_cast<std::size_t>(size));
    } else if (size == 0 || (errno != EAGAIN && errno != EINTR)) {
        stream.fd.Reset();
        groupLookAt_ = {}; // perhaps the last one of the group has ended
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
        CallHandler(stream, bytes, cut);
        bytes = cut;
    }
}

void HVChildProcess::CallHandler(Stream& stream, char const* begin, char const* end) {
    // What the handlers lead to may be destroyed by then.
    if (ProcessIsEnding())
        return;
    try {
        stream.handler(IHVData::MallocData(std::string(begin, end)));
        return;
    } catch (...) {
        KeepFailure();
    }
    stream.handler = nullptr;
    Terminate();
}

/// Inside the catch. Words are made of it later, by a thread that can bear a lack of memory.
void HVChildProcess::KeepFailure() {
    IHVLogConfig::Printf(IHVLogConfig::LogLevelError, "A handler of the tool's output has thrown");
    std::lock_guard const lock(mutex_);
    if (deliveryFailure_ == nullptr)
        deliveryFailure_ = std::current_exception();
}

void HVChildProcess::LookAfterChild() {
    if (ChildEnded())
        return;
    leaderState_ = leader_->Look();
    // A look goes through all processes. What the child wrote last is read first: with both pipes closed
    // then, there is no need to look.
    if (ChildEnded())
        groupLookAt_ = terminating_ ? Clock::time_point() : Clock::now() + kBeforeGroupLook;
    if (ChildEnded() && setup_.endsWithLeader)
        Terminate();
}

void HVChildProcess::LookAfterGroup() {
    // A child that has ended by itself with both pipes closed needs no look at its group.
    if (!ChildEnded() || groupGone_ || (!terminating_ && !PipesOpen()))
        return;
    auto const now = Clock::now();
    if (now < groupLookAt_)
        return;
    groupGone_ = !GroupIsAlive(pid_);
    groupWait_ = std::clamp<Clock::duration>(groupWait_ * 2, kFirstGroupWait,
                                             terminating_ ? kLongestGroupWait : kLongestWorkingGroupWait);
    groupLookAt_ = now + groupWait_;
}

void HVChildProcess::Insist() {
    if (!terminating_)
        return;
    auto const now = Clock::now();
    if (insistAt_ == Clock::time_point::max()) {
        insistAt_ = now + kGrace;
        groupWait_ = {};
        groupLookAt_ = {};
    } else if (!killed_ && now >= insistAt_) {
        killed_ = true;
        SignalGroup(SIGKILL);
        groupWait_ = {};
        groupLookAt_ = now + kFirstGroupWait;
    }
}

bool HVChildProcess::Over() const {
    if (!ChildEnded())
        return false;
    if (groupGone_)
        return true;
    return terminating_ ? killed_ && Clock::now() >= insistAt_ + kAfterKill : !PipesOpen();
}

int HVChildProcess::PollTimeout() const {
    auto until = Clock::time_point::max();
    if (terminating_ && insistAt_ == Clock::time_point::max())
        return 0; // the request came while the delivery thread was at work
    if (terminating_ && !killed_)
        until = insistAt_;
    else if (terminating_ && ChildEnded())
        until = insistAt_ + kAfterKill;
    if (ChildEnded())
        until = std::min(until, groupLookAt_);
    int timeout = endIsTold_ || ChildEnded() ? -1 : kChildPollMilliseconds;
    if (until != Clock::time_point::max()) {
        auto const left =
            std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count() + 1;
        auto const wait = static_cast<int>(std::clamp<long long>(left, 0, kLongestPollMilliseconds));
        timeout = timeout < 0 ? wait : std::min(timeout, wait);
    }
    return timeout;
}

void HVChildProcess::Finish() {
    // First: the number may be another group's as soon as the child is reaped.
    HVGuardian::Shared().Forget(pid_);
    output_.fd.Reset();
    output_.handler = nullptr;
    error_.fd.Reset();
    error_.handler = nullptr;
    bool untouched = false;
    {
        std::lock_guard const lock(mutex_);
        finished_ = true;
        untouched = !touched_;
    }
    Reap();
    CallExitFunctions();
    HVChildRegistry::Shared().Remove(pid_);
    leader_->Release(untouched);
    ended_.Raise();
}

/// No signal is sent any more.
void HVChildProcess::Reap() {
    if (leaderState_ == HVChildLeader::State::ReapedByOther)
        return;
    int status = 0;
    if (leader_->Reap(status)) {
        std::lock_guard const lock(mutex_);
        end_ = {true, WIFEXITED(status) ? WEXITSTATUS(status) : 0, WIFSIGNALED(status) ? WTERMSIG(status) : 0,
                leader_->Later()};
    }
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
            } catch (...) {
                IHVLogConfig::Printf(IHVLogConfig::LogLevelError, "After the end of a child: a failure");
            }
        }
    }
}

} // namespace Halvorn

#include "HVChildRegistry.h"
#include "HVGuardian.h"
#include "HVProcessEnd.h"

#include <cerrno>
#include <csignal>
#include <new>
#include <system_error>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Halvorn {

namespace {

/// How long the end of the process waits for its children beyond grace and kill.
constexpr std::chrono::milliseconds kEndPatience(1500);
/// How often a child is looked at that was killed since nothing could look after it.
constexpr std::chrono::milliseconds kAbandonPoll(1);

/// Never destroyed: children may end until the very end of the process.
std::atomic<HVChildRegistry*> gRegistry = nullptr;
/// What this thread has locked for its fork: another thread may make the registry meanwhile.
thread_local HVChildRegistry* tLockedForFork = nullptr;

} // namespace

HVChildRegistry& HVChildRegistry::Shared() {
    if (HVChildRegistry* const registry = gRegistry)
        return *registry;
    static bool const forkIsHandled =
        (SetForkFunctions(HVForkPlace::Children, {LockForFork, UnlockAfterFork, ForgetInCopy}), true);
    static_cast<void>(forkIsHandled);
    std::unique_ptr<HVChildRegistry> fresh(new HVChildRegistry); // NOLINT: the constructor is private
    HVChildRegistry* expected = nullptr;
    if (gRegistry.compare_exchange_strong(expected, fresh.get())) {
        expected = fresh.release();
        SetProcessEndFunction(HVEndStage::Children, EndAll);
    }
    return *expected;
}

int HVChildRegistry::Start(HVChildSetup setup, std::shared_ptr<HVChildProcess>& child) {
    try {
        // All that can fail for want of memory or descriptors fails before there is a child.
        auto const fresh = std::make_shared<HVChildProcess>(std::move(setup));
        if (ending_)
            return ECANCELED;
        if (int const failure = fresh->Spawn(); failure != 0)
            return failure;
        try {
            Adopt(fresh);
        } catch (...) {
            Remove(fresh->pid_);
            fresh->Abandon();
            throw;
        }
        child = fresh;
    } catch (std::bad_alloc const&) {
        return ENOMEM;
    } catch (std::system_error const&) { // no thread
        return EAGAIN;
    }
    // One that slipped past the end of the process is ended like the others.
    if (ending_)
        child->Terminate();
    return 0;
}

void HVChildRegistry::Adopt(std::shared_ptr<HVChildProcess> const& child) {
    // Its thread is last: once it runs, the child is reaped, and its number may go to another process.
    HVGuardian::Shared().Watch(child->pid_);
    {
        std::lock_guard const lock(mutex_);
        children_[child->pid_] = child;
        if (suspended_)
            child->Suspend(true);
    }
    child->BeginDelivery();
}

void HVChildRegistry::Remove(int pid) {
    std::shared_ptr<HVChildProcess> last; // goes after the lock
    std::lock_guard const lock(mutex_);
    if (auto const place = children_.find(pid); place != children_.end()) {
        last = std::move(place->second);
        children_.erase(place);
    }
    changed_.notify_all();
}

void HVChildRegistry::SuspendAll(bool suspend) {
    std::lock_guard const lock(mutex_);
    auto const now = std::chrono::steady_clock::now();
    if (suspend && !suspended_)
        suspendedAt_ = now;
    else if (!suspend && suspended_)
        suspendedFor_ += now - suspendedAt_;
    suspended_ = suspend;
    for (auto const& [pid, child] : children_)
        child->Suspend(suspend);
}

std::chrono::steady_clock::time_point HVChildRegistry::RunningTime() {
    std::lock_guard const lock(mutex_);
    return (suspended_ ? suspendedAt_ : std::chrono::steady_clock::now()) - suspendedFor_;
}

void HVChildRegistry::EndAll() {
    auto& registry = Shared();
    registry.ending_ = true;
    std::unique_lock lock(registry.mutex_);
    for (auto const& [pid, child] : registry.children_)
        child->Terminate();
    registry.changed_.wait_for(lock, kGrace + kAfterKill + kEndPatience,
                               [&registry] { return registry.children_.empty(); });
    lock.unlock();
    HVGuardian::Shared().Dismiss();
}

void HVChildRegistry::LockForFork() {
    tLockedForFork = gRegistry;
    if (tLockedForFork != nullptr)
        tLockedForFork->mutex_.lock();
}

void HVChildRegistry::UnlockAfterFork() {
    if (tLockedForFork != nullptr)
        tLockedForFork->mutex_.unlock();
}

void HVChildRegistry::ForgetInCopy() {
    HVGuardian::ForgetInCopy();
    // The children are the parent's, and the threads that hold them are not here. What they hold stays in
    // memory; an open reading end would have a tool wait for a reader when the parent is gone.
    gRegistry = nullptr;
    if (tLockedForFork == nullptr)
        return;
    for (auto const& [pid, child] : tLockedForFork->children_)
        child->CloseInCopy();
}

int HVChildProcess::Spawn() {
    if (notifier_.Failure() != 0)
        return notifier_.Failure();
    HVPipe output;
    HVPipe error;
    if (int const failure = output.Open(); failure != 0)
        return failure;
    if (int const failure = error.Open(); failure != 0)
        return failure;
    for (int const fd : {output.read.Get(), error.read.Get()})
        (void)fcntl(fd, F_SETFL, O_NONBLOCK);
    EnlargePipe(output.read.Get());
    HVSpawnRequest const request{
        setup_.exe,   setup_.args,        ChildEnvironment(setup_.runtimePath, setup_.pythonPath),
        setup_.input, output.write.Get(), error.write.Get()};
    output_.fd = std::move(output.read);
    error_.fd = std::move(error.read);
    auto& source = setup_.source == nullptr ? HVChildSource::Spawning() : *setup_.source;
    return source.Start(request, pid_, leader_);
}

void HVChildProcess::BeginDelivery() {
    endIsTold_ = notifier_.Watch(pid_);
    std::thread([self = shared_from_this()] { self->Run(); }).detach();
}

/// Ends a child that can't be looked after.
void HVChildProcess::Abandon() {
    HVGuardian::Shared().Forget(pid_);
    kill(-pid_, SIGKILL);
    while (leader_->Look() == HVChildLeader::State::Running)
        std::this_thread::sleep_for(kAbandonPoll);
    int status = 0;
    leader_->Reap(status);
}

void HVChildProcess::CloseInCopy() const {
    for (int const fd : {output_.fd.Get(), error_.fd.Get()})
        if (fd >= 0)
            close(fd);
    notifier_.CloseInCopy();
    if (leader_ != nullptr)
        leader_->CloseInCopy();
}

} // namespace Halvorn

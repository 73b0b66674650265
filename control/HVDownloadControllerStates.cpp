// How a controller changes its state, tells of it, and is waited for.

#include "HVDownloadController.h"
#include "HVQueueKeeper.h"

#include <chrono>
#include <utility>

namespace Halvorn {

/// The state that State() gives on this thread while a state function of the application runs: the one of
/// which is told, though another thread may have moved it on by now. The function's own changes are seen at
/// once.
class HVDownloadController::SeenState {
public:
    SeenState(HVDownloadController const& controller, HVDownloadState state)
        : controller_(&controller), state_(state), outer_(std::exchange(innermost_, this)) {}
    ~SeenState() { innermost_ = outer_; }
    SeenState(SeenState const&) = delete;
    SeenState& operator=(SeenState const&) = delete;

    /// Null when `controller` tells nothing on this thread.
    static SeenState* Of(HVDownloadController const& controller) {
        auto* seen = innermost_;
        while (seen != nullptr && seen->controller_ != &controller)
            seen = seen->outer_;
        return seen;
    }
    static void Forget(HVDownloadController const& controller) {
        while (auto* const seen = Of(controller))
            seen->controller_ = nullptr;
    }
    HVDownloadState State() const { return state_; }

private:
    static thread_local SeenState* innermost_;
    HVDownloadController const* controller_;
    HVDownloadState const state_;
    SeenState* const outer_;
};

thread_local HVDownloadController::SeenState* HVDownloadController::SeenState::innermost_ = nullptr;

HVDownloadState HVDownloadController::State() const {
    auto const* const seen = SeenState::Of(*this);
    return seen == nullptr ? StateNow() : seen->State();
}

/// Changes the state together with what `decide` changes, both under the lock, so that a state never stands
/// beside another state's task. Nothing changes when `decide` says no. TellChanges has to follow.
bool HVDownloadController::ChangeState(HVDownloadState next, Decision const& decide) {
    {
        std::lock_guard const lock(mutex_);
        HVDownloadState const from = state_;
        if (!decide(from))
            return false;
        if (from != next) {
            untold_.push_back({from, next});
            state_ = next;
            changed_.notify_all();
        }
        if (keeper_ != nullptr && (from != next || next == HVDownloadStateDone))
            keeper_->StateChanged({next, resultPath_, lastError_, progress_.bytes});
    }
    SeenState::Forget(*this);
    return true;
}

/// Tells all changes that are noted, unless a thread does so already: that one tells ours, too. This may be
/// the same thread, when a state function of the application changes the state.
void HVDownloadController::TellChanges() {
    auto const self = weak_from_this().lock(); // a function of the application may drop the last pointer
    std::unique_lock lock(mutex_);
    if (telling_)
        return;
    telling_ = true;
    while (!untold_.empty()) {
        StateChange const change = untold_.front();
        untold_.pop_front();
        lock.unlock();
        if (stateWillChange_.Filled() || stateDidChange_.Filled())
            Report([this, change] { Tell(change); });
        lock.lock();
    }
    telling_ = false;
    changed_.notify_all();
}

void HVDownloadController::Tell(StateChange const& change) const {
    {
        SeenState const seen(*this, change.from);
        stateWillChange_.With(
            [&change](auto const& function) { CallApplication(function, change.from, change.to); });
    }
    SeenState const seen(*this, change.to);
    stateDidChange_.With([&change](auto const& function) { CallApplication(function, change.to); });
}

/// Runs `report`, which calls a function of the application, by way of its dispatcher. A report does not keep
/// the controller alive: an application that has dropped it expects nothing any more.
void HVDownloadController::Report(std::function<void()> report) const {
    if (weak_from_this().expired())
        return report(); // no shared pointer holds it
    DispatchReport([weak = weak_from_this(), report = std::move(report)] {
        if (auto const self = weak.lock())
            report();
    });
}

/// Under the lock.
bool HVDownloadController::IsIdle() const {
    return runsUnderWay_ == 0 && state_ != HVDownloadStatePending && !telling_ && untold_.empty();
}

bool HVDownloadController::Busy() const {
    std::lock_guard const lock(mutex_);
    return !IsIdle();
}

int HVDownloadController::WaitUntilIdle(unsigned int milliseconds) const {
    std::unique_lock lock(mutex_);
    auto const idle = [this] { return IsIdle(); };
    if (milliseconds == HVInfiniteTimeOut) {
        changed_.wait(lock, idle);
        return HVErrSuccess;
    }
    return changed_.wait_for(lock, std::chrono::milliseconds(milliseconds), idle) ? HVErrSuccess
                                                                                  : HVErrTimeout;
}

void HVDownloadController::RunIsOver() {
    std::lock_guard const lock(mutex_);
    --runsUnderWay_;
    changed_.notify_all();
}

} // namespace Halvorn

#include "HVDownloadController.h"

#include "HVDownloadControllers.h"
#include "HVDownloadRun.h"
#include "HVDownloadTaskDownload.h"
#include "IHVDownloadItem.h"

#include <utility>

namespace Halvorn {

HVDownloadController::HVDownloadController(std::shared_ptr<IHVDownloadItem> item, std::string outputPath)
    : item_(std::move(item)), outputPath_(std::move(outputPath)) {}

std::string HVDownloadController::GetDownloadOutputName() const {
    return item_ == nullptr ? std::string() : item_->GetFileName();
}

void HVDownloadController::SetDownloadOutputName(std::string const& name) {
    if (item_ != nullptr)
        item_->SetFileName(name);
}

std::string HVDownloadController::DownloadOutputPathFile() const {
    return item_ == nullptr ? std::string() : item_->GetDownloadFile();
}

void HVDownloadController::SetStateWillChangeFunc(
    std::function<void(HVDownloadState, HVDownloadState)> function) {
    Set(stateWillChange_, std::move(function));
}

void HVDownloadController::ResetStateWillChangeFunc() {
    Set(stateWillChange_, nullptr);
}

void HVDownloadController::SetStateDidChangedFunc(std::function<void(HVDownloadState)> function) {
    Set(stateDidChange_, std::move(function));
}

void HVDownloadController::ResetStateDidChangeFunc() {
    Set(stateDidChange_, nullptr);
}

void HVDownloadController::SetDownloadStartFunc(std::function<void()> function) {
    Set(downloadStart_, std::move(function));
}

void HVDownloadController::SetDownloadProgressFunc(std::function<void(float)> function) {
    Set(downloadProgress_, std::move(function));
}

void HVDownloadController::SetDownloadCompleteFunc(
    std::function<void(std::shared_ptr<IHVError const>)> function) {
    Set(downloadComplete_, std::move(function));
}

void HVDownloadController::SetOwner(HVDownloadControllers* owner) {
    Set(owner_, owner == nullptr ? std::weak_ptr<HVDownloadControllers>() : owner->weak_from_this());
}

/// Changes the state together with what `apply` changes: both under the lock, so that a state never stands
/// beside another state's task. Without effect when `apply`, given the state that is to go, returns false.
template <typename Apply>
bool HVDownloadController::ChangeState(HVDownloadState next, Apply apply) {
    HVDownloadState replaced = state_;
    if (auto const function = Get(stateWillChange_); function && replaced != next)
        function(replaced, next);
    {
        std::lock_guard const lock(mutex_);
        replaced = state_;
        if (!apply(replaced))
            return false;
        state_ = next;
    }
    if (auto const function = Get(stateDidChange_); function && replaced != next)
        function(next);
    return true;
}

/// Makes `run` the latest; the one before, which `run` holds then, is stale from here on, and to be stopped:
/// nobody could do so later. Under the lock.
void HVDownloadController::InstallRun(std::shared_ptr<HVDownloadTask>& run) {
    task_.swap(run);
    runEnded_ = false;
    stopWanted_ = false;
    progressText_.clear();
}

std::shared_ptr<HVDownloadTask> HVDownloadController::NewTask() const {
    return std::make_shared<HVDownloadTaskDownload>(item_, Get(outputPath_));
}

std::shared_ptr<IHVError const> HVDownloadController::StartDownload() {
    auto const task = NewTask();
    auto run = task;
    // Before anything that takes time, so that the queue's count sees it at once.
    ChangeState(HVDownloadStateDownloading, [&](HVDownloadState) {
        InstallRun(run);
        return true;
    });
    StopStale(run);
    return StartRun(task);
}

std::shared_ptr<IHVError const> HVDownloadController::StartPending() {
    if (state_ != HVDownloadStatePending)
        return nullptr;
    auto const task = NewTask();
    auto run = task;
    bool const started = ChangeState(HVDownloadStateDownloading, [&](HVDownloadState state) {
        if (state == HVDownloadStatePending)
            InstallRun(run);
        return state == HVDownloadStatePending;
    });
    if (!started)
        return nullptr;
    StopStale(run);
    return StartRun(task);
}

std::shared_ptr<IHVError const> HVDownloadController::StartRun(std::shared_ptr<HVDownloadTask> const& task) {
    task->SetOwnDelegate(std::make_shared<HVDownloadRun>(weak_from_this()));
    task->SetJSRuntimePath(Get(jsRuntimePath_));
    if (auto options = Get(options_))
        task->SetOptions(std::move(options));
    // A fresh task always starts: a failure is its completion.
    task->StartTask();
    // A stop that came before the start had nothing to stop.
    if (!RunIsWanted(task.get()))
        task->StopTask();
    if (auto const function = Get(downloadStart_))
        function();
    // A short run may be over by now: its end stands.
    ChangeState(HVDownloadStateDownloading,
                [&](HVDownloadState) { return task_ == task && !runEnded_ && !stopWanted_; });
    return IHVError::MallocSucceed("HVDownloadController", __LINE__, "StartDownload");
}

void HVDownloadController::PendingDownload() {
    std::shared_ptr<HVDownloadTask> former;
    ChangeState(HVDownloadStatePending, [&](HVDownloadState state) {
        // After a reset the old run may still be about to end: its end is no news of the run that is now
        // waited for.
        if (state == HVDownloadStateIdle)
            InstallRun(former);
        return true;
    });
    StopStale(former);
}

void HVDownloadController::MakePending() {
    auto const mayWait = [](HVDownloadState state) {
        return state != HVDownloadStateDownloading && state != HVDownloadStateDone &&
               state != HVDownloadStatePending;
    };
    if (!mayWait(state_))
        return;
    std::shared_ptr<HVDownloadTask> former;
    ChangeState(HVDownloadStatePending, [&](HVDownloadState state) {
        if (state == HVDownloadStateIdle)
            InstallRun(former);
        return mayWait(state);
    });
    StopStale(former);
}

bool HVDownloadController::IsCurrent(IHVDownloadTask const* task) const {
    std::lock_guard const lock(mutex_);
    return task_.get() == task;
}

bool HVDownloadController::RunIsWanted(IHVDownloadTask const* task) const {
    std::lock_guard const lock(mutex_);
    return task_.get() == task && !stopWanted_;
}

void HVDownloadController::StopStale(std::shared_ptr<HVDownloadTask> const& run) {
    if (run != nullptr)
        run->StopTask();
}

/// The latest run's task, to be stopped; empty when nothing runs. Under the lock.
std::shared_ptr<HVDownloadTask> HVDownloadController::TakeRunToStop() {
    if (task_ == nullptr || runEnded_)
        return nullptr;
    stopWanted_ = true;
    return task_;
}

void HVDownloadController::StopDownload() {
    std::shared_ptr<HVDownloadTask> task;
    {
        std::lock_guard const lock(mutex_);
        HVDownloadState const state = state_;
        if (state == HVDownloadStateDownloading || state == HVDownloadStatePaused)
            task = TakeRunToStop();
    }
    if (task != nullptr)
        task->StopTask();
}

void HVDownloadController::ResetDownload() {
    StopDownload();
    std::shared_ptr<HVDownloadTask> task;
    std::shared_ptr<IHVError const> former;
    ChangeState(HVDownloadStateIdle, [&](HVDownloadState) {
        // In any state: the queue may have started it in the meantime, or somebody made a running one wait.
        task = TakeRunToStop();
        lastError_.swap(former);
        return true;
    });
    if (task != nullptr)
        task->StopTask();
}

void HVDownloadController::DownloadTaskStarted(std::string /*message*/, IHVDownloadTask const* task) {
    if (!IsCurrent(task))
        return;
    if (auto const function = Get(downloadStart_))
        function();
    ChangeState(HVDownloadStateDownloading,
                [&](HVDownloadState) { return task_.get() == task && !stopWanted_; });
}

void HVDownloadController::DownloadTaskProgress(std::string message, float percent,
                                                IHVDownloadTask const* task) {
    if (!IsCurrent(task))
        return;
    Set(progressText_, std::move(message));
    if (auto const function = Get(downloadProgress_))
        function(percent);
}

void HVDownloadController::DownloadTaskGetPlayList(std::shared_ptr<IHVPlayList> /*playList*/,
                                                   IHVDownloadTask const* /*task*/) {}

void HVDownloadController::DownloadTaskGetPlayItem(std::shared_ptr<IHVDownloadItem> /*item*/,
                                                   IHVDownloadTask const* /*task*/) {}

void HVDownloadController::DownloadTaskCompleted(std::shared_ptr<IHVError const> error,
                                                 IHVDownloadTask const* task) {
    bool const cancelled = error != nullptr && error->UserCancel();
    auto result = error;
    std::shared_ptr<HVDownloadControllers> owner;
    bool current = false;
    {
        std::lock_guard const lock(mutex_);
        current = task_.get() == task;
        owner = owner_.lock();
        if (current)
            runEnded_ = true;
        if (current && !cancelled)
            lastError_.swap(result);
    }
    // Another thread may start a new run at this moment: its state stands.
    if (current)
        current = ChangeState(cancelled ? HVDownloadStateCancelled : HVDownloadStateDone,
                              [&](HVDownloadState) { return task_.get() == task; });
    // The next one has been started by the time that the application hears of the end of this one.
    if (owner != nullptr)
        owner->DownloadCompleted(this);
    if (!current)
        return;
    if (auto const function = Get(downloadComplete_))
        function(error);
}

} // namespace Halvorn

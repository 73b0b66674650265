#include "HVDownloadController.h"

#include "HVDownloadControllers.h"
#include "HVDownloadItem.h"
#include "HVDownloadRun.h"
#include "HVDownloadTaskDownload.h"
#include "HVQueueKeeper.h"

#include <algorithm>
#include <utility>

namespace Halvorn {

HVDownloadController::HVDownloadController(std::shared_ptr<IHVDownloadItem> item, std::string outputPath)
    : item_(std::move(item)), outputPath_(std::move(outputPath)) {}

std::string HVDownloadController::GetDownloadOutputName() const {
    return item_ == nullptr ? std::string() : item_->GetFileName();
}

void HVDownloadController::SetDownloadOutputName(std::string const& name) {
    if (item_ == nullptr)
        return;
    item_->SetFileName(name);
    if (auto const keeper = Get(keeper_))
        keeper->NameChanged(item_->GetFileName());
    // A name that is given here reaches the wait or the run that is under way as well.
    if (auto const choice = Get(choice_))
        choice->SetFileName(name);
    if (auto const run = Get(run_))
        run->Choice()->SetFileName(name);
}

std::string HVDownloadController::DownloadOutputPathFile() const {
    {
        std::lock_guard const lock(mutex_);
        if (hasRun_)
            return resultPath_;
    }
    return item_ == nullptr ? std::string() : item_->GetDownloadFile();
}

void HVDownloadController::SetStateWillChangeFunc(
    std::function<void(HVDownloadState, HVDownloadState)> function) {
    stateWillChange_.Set(std::move(function));
}

void HVDownloadController::ResetStateWillChangeFunc() {
    stateWillChange_.Set(nullptr);
}

void HVDownloadController::SetStateDidChangedFunc(std::function<void(HVDownloadState)> function) {
    stateDidChange_.Set(std::move(function));
}

void HVDownloadController::ResetStateDidChangeFunc() {
    stateDidChange_.Set(nullptr);
}

void HVDownloadController::SetDownloadStartFunc(std::function<void()> function) {
    downloadStart_.Set(std::move(function));
}

void HVDownloadController::SetDownloadProgressFunc(std::function<void(float)> function) {
    downloadProgress_.Set(std::move(function));
}

void HVDownloadController::SetDownloadCompleteFunc(
    std::function<void(std::shared_ptr<IHVError const>)> function) {
    downloadComplete_.Set(std::move(function));
}

namespace {

/// Compared by what they share: a pointer that was locked for it might be the queue's last one, and would
/// destroy the queue under the controller's lock.
bool Same(std::weak_ptr<HVDownloadControllers> const& a, std::weak_ptr<HVDownloadControllers> const& b) {
    return !a.owner_before(b) && !b.owner_before(a);
}

} // namespace

void HVDownloadController::SetOwner(HVDownloadControllers* owner) {
    std::vector<std::weak_ptr<HVDownloadControllers>> owners;
    if (owner != nullptr)
        owners.push_back(owner->weak_from_this());
    Set(owners_, std::move(owners));
}

void HVDownloadController::AddOwner(HVDownloadControllers& owner) {
    auto const added = owner.weak_from_this();
    std::lock_guard const lock(mutex_);
    if (std::none_of(owners_.begin(), owners_.end(), [&](auto const& one) { return Same(one, added); }))
        owners_.push_back(added);
}

std::shared_ptr<HVDownloadRun> HVDownloadController::RemoveOwner(HVDownloadControllers& owner) {
    auto const removed = owner.weak_from_this();
    std::lock_guard const lock(mutex_);
    std::erase_if(owners_, [&](auto const& one) { return Same(one, removed); });
    if (run_ == nullptr || runEnded_ || state_ != HVDownloadStateDownloading)
        return nullptr;
    run_->AlsoTell(removed);
    return run_;
}

/// Makes `task`, which may be empty, the latest; `task` then holds the one before, which is stale from here
/// on, and to be stopped: nobody could do so later. Under the lock.
void HVDownloadController::InstallRun(std::shared_ptr<HVDownloadTask>& task,
                                      std::shared_ptr<HVDownloadRun> run) {
    task_.swap(task);
    run_ = std::move(run);
    runEnded_ = false;
    stopWanted_ = false;
    pauseWanted_ = false;
    resumeWanted_ = false;
    progressText_.clear();
    progress_ = {};
    untoldRecord_.reset();
    if (run_ != nullptr) {
        hasRun_ = true;
        ++runsUnderWay_;
    }
}

std::shared_ptr<IHVError const> HVDownloadController::StartDownload() {
    auto result = StartIf([](HVDownloadState) { return true; }, TakeChoice());
    return result != nullptr ? result
                             : IHVError::MallocCancel("HVDownloadController", __LINE__, "StartDownload");
}

std::shared_ptr<IHVError const> HVDownloadController::StartPending() {
    auto choice = Get(choice_);
    if (state_ != HVDownloadStatePending)
        return nullptr;
    return StartIf([](HVDownloadState state) { return state == HVDownloadStatePending; }, std::move(choice));
}

/// Empty when `wanted` says no, or a state function of the application has taken the start back.
std::shared_ptr<IHVError const> HVDownloadController::StartIf(Decision const& wanted,
                                                              std::shared_ptr<IHVDownloadItem> choice) {
    auto const self = weak_from_this().lock(); // a function of the application may drop the last pointer
    auto const run = std::make_shared<HVDownloadRun>(weak_from_this(), item_, choice);
    auto const task = std::make_shared<HVDownloadTaskDownload>(std::move(choice), Get(outputPath_));
    task->SetOwnDelegate(run);
    task->SetProgressRecorder([weak = weak_from_this(), from = task.get()](HVDownloadProgress const& record) {
        if (auto const controller = weak.lock())
            controller->NoteProgress(record, from);
    });
    std::shared_ptr<HVDownloadTask> former = task;
    // Before anything that takes time, so that the queue's count sees it at once.
    if (!ChangeState(HVDownloadStateDownloading, [&](HVDownloadState state) {
            if (!wanted(state))
                return false;
            InstallRun(former, run);
            return true;
        }))
        return nullptr;
    if (former != nullptr)
        former->StopTask();
    TellChanges();
    return DropUnbegun(*run) ? nullptr : StartRun(task);
}

/// Gives a run up whose task was not started yet, when the controller was reset or started anew meanwhile:
/// there is nothing to end. A run that is to stop begins nevertheless, since its end is reported.
bool HVDownloadController::DropUnbegun(HVDownloadRun& run) {
    std::vector<std::shared_ptr<HVDownloadControllers>> owners;
    {
        std::lock_guard const lock(mutex_);
        bool const current = run_.get() == &run;
        if (current && (!stopWanted_ || state_ != HVDownloadStateIdle))
            return false;
        if (current)
            runEnded_ = true;
        owners = Owners();
    }
    // Its place is free: rows may have been made to wait for it.
    for (auto const& owner : owners)
        owner->DownloadCompleted(this);
    run.Drop();
    RunIsOver();
    return true;
}

/// Under the lock; to be told, and destroyed, without it.
std::vector<std::shared_ptr<HVDownloadControllers>> HVDownloadController::Owners() const {
    std::vector<std::shared_ptr<HVDownloadControllers>> owners;
    for (auto const& entry : owners_)
        if (auto owner = entry.lock())
            owners.push_back(std::move(owner));
    return owners;
}

std::shared_ptr<IHVError const> HVDownloadController::StartRun(std::shared_ptr<HVDownloadTask> const& task) {
    HandSettings(*task);
    // A fresh task always starts: a failure is its completion.
    task->StartTask();
    // A stop that came before the start had nothing to stop.
    if (!RunIsWanted(task.get()))
        task->StopTask();
    Report([this] { downloadStart_.With([](auto const& function) { CallApplication(function); }); });
    // A short run may be over by now, and another one waited for: that state stands.
    ChangeState(HVDownloadStateDownloading,
                [&](HVDownloadState) { return task_ == task && !runEnded_ && !stopWanted_; });
    TellChanges();
    return IHVError::MallocSucceed("HVDownloadController", __LINE__, "StartDownload");
}

void HVDownloadController::PendingDownload() {
    WaitIf([](HVDownloadState) { return true; });
}

void HVDownloadController::MakePending() {
    WaitIf([](HVDownloadState state) {
        return state != HVDownloadStateDownloading && state != HVDownloadStateDone;
    });
}

void HVDownloadController::WaitIf(Decision const& mayWait) {
    // The choice counts as it is now: the start comes on a worker, while the application may choose anew.
    auto choice = TakeChoice();
    std::shared_ptr<HVDownloadTask> former;
    bool const waits = ChangeState(HVDownloadStatePending, [&](HVDownloadState state) {
        if (!mayWait(state))
            return false;
        // After a reset the old run may still be about to end: that end says nothing of the run that is
        // waited for now.
        if (state == HVDownloadStateIdle)
            InstallRun(former, nullptr);
        choice_.swap(choice);
        return true;
    });
    if (former != nullptr)
        former->StopTask();
    TellChanges();
    if (waits)
        NoteProgress(WaitingFor(Get(choice_).get()), nullptr);
}

bool HVDownloadController::IsCurrent(IHVDownloadTask const* task) const {
    std::lock_guard const lock(mutex_);
    return task_.get() == task && !runEnded_;
}

bool HVDownloadController::RunIsWanted(IHVDownloadTask const* task) const {
    std::lock_guard const lock(mutex_);
    return task_.get() == task && !stopWanted_;
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
    ChangeState(HVDownloadStateCancelled, [this](HVDownloadState state) {
        return state == HVDownloadStatePaused && (runEnded_ || task_ == nullptr);
    });
    TellChanges();
    {
        std::lock_guard const lock(mutex_);
        pauseWanted_ = false;
        HVDownloadState const state = state_;
        if (state == HVDownloadStateDownloading || state == HVDownloadStatePaused)
            task = TakeRunToStop();
    }
    if (task != nullptr)
        task->StopTask();
}

void HVDownloadController::ResetDownload() {
    std::shared_ptr<HVDownloadTask> task;
    std::shared_ptr<IHVError const> former;
    ChangeState(HVDownloadStateIdle, [&](HVDownloadState) {
        // In any state: a running one may have been made to wait.
        task = TakeRunToStop();
        pauseWanted_ = false;
        lastError_.swap(former);
        return true;
    });
    if (task != nullptr)
        task->StopTask();
    TellChanges();
}

void HVDownloadController::Cancel() {
    std::shared_ptr<HVDownloadTask> task;
    std::shared_ptr<IHVError const> former;
    ChangeState(HVDownloadStateIdle, [&](HVDownloadState state) {
        task = TakeRunToStop();
        if (state == HVDownloadStatePending)
            lastError_.swap(former);
        return state == HVDownloadStatePending;
    });
    if (task != nullptr)
        task->StopTask();
    TellChanges();
}

/// Empty when nothing runs, or what runs is to stop.
std::shared_ptr<HVDownloadTaskDownload> HVDownloadController::RunningTask() const {
    std::lock_guard const lock(mutex_);
    return runEnded_ || stopWanted_ ? nullptr : std::dynamic_pointer_cast<HVDownloadTaskDownload>(task_);
}

bool HVDownloadController::Finish() {
    auto const task = RunningTask();
    return task != nullptr && task->FinishRecording();
}

IHVDownloadController::Recording HVDownloadController::RecordingNow() const {
    auto const task = RunningTask();
    return task == nullptr ? Recording{} : Recording{task->Recording().Seconds(), task->Recording().Bytes()};
}

void HVDownloadController::DownloadTaskStarted(std::string /*message*/, IHVDownloadTask const* task) {
    if (!IsCurrent(task))
        return;
    Report([this] { downloadStart_.With([](auto const& function) { CallApplication(function); }); });
    ChangeState(HVDownloadStateDownloading,
                [&](HVDownloadState) { return task_.get() == task && !stopWanted_; });
    TellChanges();
}

void HVDownloadController::DownloadTaskProgress(std::string message, float percent,
                                                IHVDownloadTask const* task) {
    if (!IsCurrent(task))
        return;
    Set(progressText_, std::move(message));
    if (downloadProgress_.Filled())
        Report([this, percent] {
            downloadProgress_.With([&](auto const& function) { CallApplication(function, percent); });
        });
}

void HVDownloadController::DownloadTaskCompleted(std::shared_ptr<IHVError const> error,
                                                 IHVDownloadTask const* task) {
    bool const cancelled = error != nullptr && error->UserCancel();
    bool const paused = cancelled && TakePause(task);
    auto result = error;
    std::vector<std::shared_ptr<HVDownloadControllers>> owners;
    std::shared_ptr<HVDownloadRun> run;
    // Another thread may start a new run at this moment: its state stands.
    bool const current = ChangeState(paused      ? HVDownloadStatePaused
                                     : cancelled ? HVDownloadStateCancelled
                                                 : HVDownloadStateDone,
                                     [&](HVDownloadState) {
                                         // In one go with the mark of the end: a queue that gives the row up
                                         // later finds the run ended.
                                         owners = Owners();
                                         if (task_.get() != task)
                                             return false;
                                         runEnded_ = true;
                                         run = run_;
                                         if (run != nullptr && !run->Choice()->GetDownloadFile().empty())
                                             resultPath_ = run->Choice()->GetDownloadFile();
                                         if (!cancelled)
                                             lastError_.swap(result);
                                         return true;
                                     });
    TellChanges();
    // The next one has been started by the time that the application hears of the end of this one.
    for (auto const& owner : owners)
        owner->DownloadCompleted(this);
    if (!current)
        return;
    if (run != nullptr)
        run->End();
    if (paused) { // which is no end
        bool resume = false;
        {
            std::lock_guard const lock(mutex_);
            std::swap(resume, resumeWanted_);
        }
        if (resume)
            ResumeDownload();
        return;
    }
    Report([this, error] {
        downloadComplete_.With([&](auto const& function) { CallApplication(function, error); });
    });
}

} // namespace Halvorn

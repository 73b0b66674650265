#pragma once
// The controller of one item's download.
//
// Thread-safety: the state may be read without the lock and changes under it, together with the run that it
// speaks of; all else is guarded for the copy alone. No lock is held while a function of the application, the
// queue or a task runs. A report of a run that was replaced by a new start is dropped.
//
// A change of state is asked for, made and noted in one go under the lock, and told afterwards. So each
// change that is told was made, and the changes are told in the order in which they were made: the thread
// that finds nobody telling tells all that is noted, also what other threads add meanwhile, and those don't
// wait.

#include "HVCallback.h"
#include "HVDownloadProgress.h"
#include "HVDownloadTask.h"
#include "HVResumeSettings.h"
#include "HVRowSettings.h"
#include "IHVDownloadController.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <vector>

namespace Halvorn {

class HVDownloadControllers;
class HVDownloadItem;
class HVDownloadRun;
class HVDownloadTaskDownload;
class HVStartPacer;
class HVTotalRate;
class HVRowKeeper;
struct HVRowState;

class HVDownloadController final : public IHVDownloadController,
                                   public std::enable_shared_from_this<HVDownloadController> {
public:
    HVDownloadController(std::shared_ptr<IHVDownloadItem> item, std::string outputPath);

    void DownloadTaskStarted(std::string message, IHVDownloadTask const* task) override;
    void DownloadTaskProgress(std::string message, float percent, IHVDownloadTask const* task) override;
    void DownloadTaskGetPlayList(std::shared_ptr<IHVPlayList>, IHVDownloadTask const*) override {}
    void DownloadTaskGetPlayItem(std::shared_ptr<IHVDownloadItem>, IHVDownloadTask const*) override {}
    void DownloadTaskCompleted(std::shared_ptr<IHVError const> error, IHVDownloadTask const* task) override;

    std::shared_ptr<IHVDownloadItem const> DownloadItem() const override { return item_; }
    std::shared_ptr<IHVDownloadItem> DownloadItem() override { return item_; }
    std::string GetDownloadOutputPath() const override { return Get(outputPath_); }
    void SetDownloadOutputPath(std::string const& path) override;
    std::string GetDownloadOutputName() const override;
    void SetDownloadOutputName(std::string const& name) override;
    std::string DownloadOutputPathFile() const override;
    void SetOptions(std::shared_ptr<IHVDownloadOptions> options) override;
    std::shared_ptr<IHVDownloadOptions const> GetOptions() const override { return Get(options_); }
    void TakeOptionsForSite(HVDownloadTask::ChooseOptions choose) { Set(chooseOptions_, std::move(choose)); }
    void SetJSRuntimePath(std::string const& path) override { Set(jsRuntimePath_, path); }
    bool GetSelected() const override { return selected_; }
    void SetSelected(bool selected) override { selected_ = selected; }
    bool GetChecked() const override { return checked_; }
    void SetChecked(bool checked) override;
    std::shared_ptr<IHVError const> LastError() const override { return Get(lastError_); }
    HVDownloadState State() const override;
    std::shared_ptr<IHVError const> StartDownload() override;
    void PendingDownload() override;
    void PauseDownload() override;
    void ResumeDownload() override;
    void StopDownload() override;
    void ResetDownload() override;
    void SetOpaque(std::shared_ptr<void> opaque) override { Set(opaque_, std::move(opaque)); }
    std::shared_ptr<void> GetOpaque() const override { return Get(opaque_); }
    void SetDoubleOpaque(double opaque) override { doubleOpaque_ = opaque; }
    double GetDoubleOpaque() const override { return doubleOpaque_; }
    void SetStateWillChangeFunc(std::function<void(HVDownloadState, HVDownloadState)> function) override;
    void ResetStateWillChangeFunc() override;
    void SetStateDidChangedFunc(std::function<void(HVDownloadState)> function) override;
    void ResetStateDidChangeFunc() override;
    void SetDownloadStartFunc(std::function<void()> function) override;
    void SetDownloadProgressFunc(std::function<void(float)> function) override;
    void SetDownloadCompleteFunc(std::function<void(std::shared_ptr<IHVError const>)> function) override;

    /// Sets the one queue that is told of the end of a run; null for none.
    void SetOwner(HVDownloadControllers* owner);
    /// Has this queue told as well.
    void AddOwner(HVDownloadControllers& owner);
    /// Has this queue told no more; but of the end of a run that is under way, which is returned then: it
    /// still takes a place.
    std::shared_ptr<HVDownloadRun> RemoveOwner(HVDownloadControllers& owner);
    void SetLastError(std::shared_ptr<IHVError const> error) { Set(lastError_, std::move(error)); }
    /// The state as it is, also inside a state function of the application.
    HVDownloadState StateNow() const { return state_; }
    /// For the queue: as StartDownload, but only as long as the controller is still Pending; else empty.
    std::shared_ptr<IHVError const> StartPending();
    /// For the queue: as PendingDownload, but not for a controller that downloads or is done.
    void MakePending();
    void Cancel();
    bool Finish();
    Recording RecordingNow() const;
    std::string ProgressTextNow() const { return Get(progressText_); }
    void SetResume(HVResumeSettings const& settings) {
        Set(resume_, std::optional<HVResumeSettings>(settings));
    }
    bool RemovePartialData();
    void SetPacerOfRuns(std::shared_ptr<HVStartPacer> pacer) { Set(pacer_, std::move(pacer)); }
    void SetTotalRateOfRuns(std::shared_ptr<HVTotalRate> rate) { Set(totalRate_, std::move(rate)); }
    void SetArchiveOfRuns(std::shared_ptr<IHVDownloadArchive> archive);
    void SetMetadata(HVMetadataFiles const& files);
    void SetSkipsOfRuns(int skips);
    void SetWish(HVFormatWish const& wish);
    void ChangeSettings(std::function<void(HVRowSettings&)> const& change);
    HVRowSettings Settings() const { return Get(settings_); }
    HVDownloadSkip SkippedNow() const;
    /// The item, or, as long as the application chooses nothing else, what a run has found out about it.
    std::shared_ptr<IHVDownloadItem> Subject() const;
    /// See IHVDownloadController::FindExistingFile.
    std::string FindExisting() const;
    void SetName(std::string const& text);
    std::string NameTemplate() const { return Get(nameTemplate_); }
    std::uint64_t PartialBytesThere() const;
    /// Takes the state that it had in an earlier process. Before anything else is done with it.
    void Restore(HVRowState const& state);
    /// Has each change stored, in a row that is there.
    void SetKeeper(std::shared_ptr<HVRowKeeper> keeper);
    /// The same in a new row.
    void KeepFromNowOn(std::shared_ptr<HVRowKeeper> keeper);
    /// Takes the row out of the file.
    void ForgetRow();
    /// Of its row in a kept queue; empty where it has none.
    std::shared_ptr<HVRowKeeper> Keeper() const;
    /// See IHVDownloadController::SetProgressFunc.
    void SetProgressRecordFunc(std::function<void(HVDownloadProgress const&)> function, int mostCallsASecond);
    HVDownloadProgress ProgressNow() const;
    /// See IHVDownloadController::WaitFinish; inside a function of the application, too.
    int WaitUntilIdle(unsigned int milliseconds) const;
    /// Whether WaitUntilIdle would wait.
    bool Busy() const;
    /// The last report of a run has been made.
    void RunIsOver();

private:
    struct StateChange {
        HVDownloadState from;
        HVDownloadState to;
    };
    class SeenState;
    /// Decides about a change under the lock, given the state that is to go, and makes what goes with it.
    using Decision = std::function<bool(HVDownloadState)>;

    template <typename Value>
    Value Get(Value const& field) const {
        std::lock_guard const lock(mutex_);
        return field;
    }
    template <typename Value, typename New>
    void Set(Value& field, New value) {
        Value next(std::move(value));
        std::lock_guard const lock(mutex_);
        std::swap(field, next); // what was there before goes after the lock
    }
    bool ChangeState(HVDownloadState next, Decision const& decide);
    void TellChanges();
    void Tell(StateChange const& change) const;
    void Report(std::function<void()> report) const;
    bool IsIdle() const;

    /// What a run's analysis came to.
    struct Found {
        std::shared_ptr<HVDownloadItem> item;
        std::string format; ///< code of the format that the item had then
    };
    void TakeFound(HVDownloadItem const& item, std::string former);
    std::shared_ptr<IHVDownloadItem> TakeChoice() const;
    std::shared_ptr<IHVError const> StartIf(Decision const& wanted, std::shared_ptr<IHVDownloadItem> choice);
    void InstallRun(std::shared_ptr<HVDownloadTask>& task, std::shared_ptr<HVDownloadRun> run);
    bool DropUnbegun(HVDownloadRun& run);
    std::pair<std::string, std::string> PartialPlace() const;
    /// The record of a row that waits: what the site says of its size.
    static HVDownloadProgress WaitingFor(IHVDownloadItem const* choice);
    bool TakePause(IHVDownloadTask const* task);
    void NoteProgress(HVDownloadProgress const& progress, IHVDownloadTask const* task);
    std::vector<std::shared_ptr<HVDownloadControllers>> Owners() const;
    void HandSettings(HVDownloadTask& task);
    std::shared_ptr<IHVError const> StartRun(std::shared_ptr<HVDownloadTask> const& task);
    void WaitIf(Decision const& mayWait);
    std::shared_ptr<HVDownloadTask> TakeRunToStop();
    std::shared_ptr<HVDownloadTaskDownload> RunningTask() const;
    bool IsCurrent(IHVDownloadTask const* task) const;
    bool RunIsWanted(IHVDownloadTask const* task) const;

    std::shared_ptr<IHVDownloadItem> const item_;
    std::atomic<HVDownloadState> state_ = HVDownloadStateIdle;
    std::atomic<bool> checked_ = true;
    std::atomic<bool> selected_ = false;
    std::atomic<double> doubleOpaque_ = 0.0;
    HVCallbackSlot<std::function<void(HVDownloadState, HVDownloadState)>> stateWillChange_;
    HVCallbackSlot<std::function<void(HVDownloadState)>> stateDidChange_;
    HVCallbackSlot<std::function<void()>> downloadStart_;
    HVCallbackSlot<std::function<void(float)>> downloadProgress_;
    HVCallbackSlot<std::function<void(std::shared_ptr<IHVError const>)>> downloadComplete_;
    HVCallbackSlot<std::function<void(HVDownloadProgress const&)>> progressRecord_;
    std::atomic<int> recordPause_ = 100; // milliseconds between two records that are told

    mutable std::mutex mutex_;                // guards what follows
    mutable std::condition_variable changed_; // what IsIdle looks at
    std::vector<std::weak_ptr<HVDownloadControllers>> owners_;
    std::shared_ptr<IHVDownloadItem> choice_; // of the latest start or wait
    std::shared_ptr<HVDownloadTask> task_;    // of the latest start
    std::shared_ptr<HVDownloadRun> run_;      // of that task
    bool runEnded_ = false;                   // that task has completed
    bool stopWanted_ = false;                 // that task is to stop, whether it was started yet or not
    bool pauseWanted_ = false;                // it is to stop for a pause
    bool resumeWanted_ = false;               // and to go on after that
    std::optional<HVResumeSettings> resume_;  // empty where a stopped run leaves nothing
    bool hasRun_ = false;                     // there was a start: resultPath_ counts
    int runsUnderWay_ = 0;                    // also those that were replaced by a new start
    std::deque<StateChange> untold_;
    bool telling_ = false; // a thread tells the changes
    std::string resultPath_;
    std::string outputPath_;
    std::string nameTemplate_;
    HVRowSettings settings_;
    Found found_;
    std::shared_ptr<HVStartPacer> pacer_;
    std::shared_ptr<HVTotalRate> totalRate_;
    std::string jsRuntimePath_;
    std::string progressText_;
    HVDownloadProgress progress_;
    std::optional<HVDownloadProgress> untoldRecord_; // the latest, when it was held back
    std::chrono::steady_clock::time_point recordTold_;
    std::shared_ptr<IHVError const> lastError_;
    std::shared_ptr<void> opaque_;
    std::shared_ptr<IHVDownloadOptions> options_;
    HVDownloadTask::ChooseOptions chooseOptions_;
    std::shared_ptr<HVRowKeeper> keeper_; // of its row in a kept queue
};

} // namespace Halvorn

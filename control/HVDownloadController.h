#pragma once
// The controller of one item's download.
//
// Thread-safety: the state may be read without the lock and changes under it, together with the run that it
// speaks of; all else is guarded for the copy alone. No lock is held while a function of the application, the
// queue or a task runs. A report of a run that was replaced by a new start
// is dropped.

#include "HVDownloadTask.h"
#include "IHVDownloadController.h"

#include <atomic>
#include <mutex>

namespace Halvorn {

class HVDownloadControllers;

class HVDownloadController final : public IHVDownloadController,
                                   public std::enable_shared_from_this<HVDownloadController> {
public:
    HVDownloadController(std::shared_ptr<IHVDownloadItem> item, std::string outputPath);

    void DownloadTaskStarted(std::string message, IHVDownloadTask const* task) override;
    void DownloadTaskProgress(std::string message, float percent, IHVDownloadTask const* task) override;
    void DownloadTaskGetPlayList(std::shared_ptr<IHVPlayList> playList, IHVDownloadTask const* task) override;
    void DownloadTaskGetPlayItem(std::shared_ptr<IHVDownloadItem> item, IHVDownloadTask const* task) override;
    void DownloadTaskCompleted(std::shared_ptr<IHVError const> error, IHVDownloadTask const* task) override;

    std::shared_ptr<IHVDownloadItem const> DownloadItem() const override { return item_; }
    std::shared_ptr<IHVDownloadItem> DownloadItem() override { return item_; }
    std::string GetDownloadOutputPath() const override { return Get(outputPath_); }
    void SetDownloadOutputPath(std::string const& path) override { Set(outputPath_, path); }
    std::string GetDownloadOutputName() const override;
    void SetDownloadOutputName(std::string const& name) override;
    std::string DownloadOutputPathFile() const override;
    void SetOptions(std::shared_ptr<IHVDownloadOptions> options) override {
        Set(options_, std::move(options));
    }
    std::shared_ptr<IHVDownloadOptions const> GetOptions() const override { return Get(options_); }
    void SetJSRuntimePath(std::string const& path) override { Set(jsRuntimePath_, path); }
    bool GetSelected() const override { return selected_; }
    void SetSelected(bool selected) override { selected_ = selected; }
    bool GetChecked() const override { return checked_; }
    void SetChecked(bool checked) override { checked_ = checked; }
    std::shared_ptr<IHVError const> LastError() const override { return Get(lastError_); }
    HVDownloadState State() const override { return state_; }
    std::shared_ptr<IHVError const> StartDownload() override;
    void PendingDownload() override;
    void PauseDownload() override {}
    void ResumeDownload() override {}
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

    /// Sets the queue that is told of the end of a run; null for none.
    void SetOwner(HVDownloadControllers* owner);
    void SetLastError(std::shared_ptr<IHVError const> error) { Set(lastError_, std::move(error)); }
    /// For the queue: as StartDownload, but only as long as the controller is still Pending; else empty.
    std::shared_ptr<IHVError const> StartPending();
    /// For the queue: as PendingDownload, but not for a controller that downloads or is done.
    void MakePending();
    std::string ProgressTextNow() const { return Get(progressText_); }

private:
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
    template <typename Apply>
    bool ChangeState(HVDownloadState next, Apply apply);
    std::shared_ptr<HVDownloadTask> NewTask() const;
    void InstallRun(std::shared_ptr<HVDownloadTask>& run);
    std::shared_ptr<IHVError const> StartRun(std::shared_ptr<HVDownloadTask> const& task);
    std::shared_ptr<HVDownloadTask> TakeRunToStop();
    static void StopStale(std::shared_ptr<HVDownloadTask> const& run);
    bool IsCurrent(IHVDownloadTask const* task) const;
    bool RunIsWanted(IHVDownloadTask const* task) const;

    std::shared_ptr<IHVDownloadItem> const item_;
    std::atomic<HVDownloadState> state_ = HVDownloadStateIdle;
    std::atomic<bool> checked_ = true;
    std::atomic<bool> selected_ = false;
    std::atomic<double> doubleOpaque_ = 0.0;

    mutable std::mutex mutex_; // guards what follows
    std::weak_ptr<HVDownloadControllers> owner_;
    std::shared_ptr<HVDownloadTask> task_; // of the latest start
    bool runEnded_ = false;                // that task has completed
    bool stopWanted_ = false;              // that task is to stop, whether it was started yet or not
    std::string outputPath_;
    std::string jsRuntimePath_;
    std::string progressText_;
    std::shared_ptr<IHVError const> lastError_;
    std::shared_ptr<void> opaque_;
    std::shared_ptr<IHVDownloadOptions> options_;
    std::function<void(HVDownloadState, HVDownloadState)> stateWillChange_;
    std::function<void(HVDownloadState)> stateDidChange_;
    std::function<void()> downloadStart_;
    std::function<void(float)> downloadProgress_;
    std::function<void(std::shared_ptr<IHVError const>)> downloadComplete_;
};

} // namespace Halvorn

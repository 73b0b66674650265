#pragma once
/// \class Halvorn::IHVDownloadController
/// The application's handle on the download of one item: its state, its result, and its callbacks.
/// Controllers live in a queue (IHVDownloadControllers), which decides when each one starts.
///
/// Thread-safety: every operation may be called from any thread; no lock is held while a callback runs, so a
/// callback may call back into the controller and the queue. A function is
/// copied for each call: what it is to remember has to be shared. Callbacks run on the thread that causes
/// them: the caller's, the task's worker, or, for progress, the thread that delivers the tool's output.
/// Ownership: shared pointers; the queue holds its controllers. When the last pointer to a controller goes
/// while its download runs, the download goes on and nobody is told.

#include "IHVDownloadTaskDelegate.h"

#include <functional>
#include <memory>
#include <string>

namespace Halvorn {

class IHVDownloadItem;
class IHVDownloadOptions;

/// The state of a controller. The values are fixed.
enum HVDownloadState {
    HVDownloadStateNone = 0,        ///< no controller's state; that of no controllers at all
    HVDownloadStateIdle = 1,        ///< not started, or reset
    HVDownloadStatePending = 2,     ///< waits for a free place in the queue
    HVDownloadStateDownloading = 3, ///< a task is starting or running
    HVDownloadStatePaused = 4,      ///< reserved, never entered
    HVDownloadStateDone = 5,        ///< over, with success or with an error: LastError() tells which
    HVDownloadStateCancelled = 6,   ///< over by the user's stop
    HVDownloadStateMixed = 7        ///< no controller's state; that of controllers in different states
};

class HV_EXPORT IHVDownloadController : public IHVDownloadTaskDelegate {
public:
    /// A controller for the item, whose file is to stand in the folder `outputPath`.
    static std::shared_ptr<IHVDownloadController>
    MallocDownloadController(std::shared_ptr<IHVDownloadItem> item, std::string const& outputPath);

    ///@{
    /// The item that this controller was made for.
    virtual std::shared_ptr<IHVDownloadItem const> DownloadItem() const = 0;
    virtual std::shared_ptr<IHVDownloadItem> DownloadItem() = 0;
    ///@}
    ///@{
    /// Folder of the finished file. A change takes effect with the next start.
    virtual std::string GetDownloadOutputPath() const = 0;
    virtual void SetDownloadOutputPath(std::string const& path) = 0;
    ///@}
    ///@{
    /// The item's proposed file name, without extension; shared by all controllers of the item.
    virtual std::string GetDownloadOutputName() const = 0;
    virtual void SetDownloadOutputName(std::string const& name) = 0;
    ///@}
    /// Full path of the finished file; empty until a download has succeeded.
    virtual std::string DownloadOutputPathFile() const = 0;
    ///@{
    /// Handed to every new task when set; shared, not copied.
    virtual void SetOptions(std::shared_ptr<IHVDownloadOptions> options) = 0;
    virtual std::shared_ptr<IHVDownloadOptions const> GetOptions() const = 0;
    ///@}
    /// Path of the JS runtime for every new task.
    virtual void SetJSRuntimePath(std::string const& path) = 0;
    ///@{
    /// The application's selection; false at first.
    virtual bool GetSelected() const = 0;
    virtual void SetSelected(bool selected) = 0;
    ///@}
    ///@{
    /// The application's tick: the queue starts checked controllers only; true at first.
    virtual bool GetChecked() const = 0;
    virtual void SetChecked(bool checked) = 0;
    ///@}
    /// Result of the last finished attempt; empty before one, and unchanged by a stop.
    virtual std::shared_ptr<IHVError const> LastError() const = 0;
    /// The state at this moment.
    virtual HVDownloadState State() const = 0;

    /// Starts a new run at once, whatever the state. The failure of a start is returned and kept in
    /// LastError().
    virtual std::shared_ptr<IHVError const> StartDownload() = 0;
    /// Makes the controller wait for a free place.
    virtual void PendingDownload() = 0;
    ///@{
    /// No effect: a pause does not exist.
    virtual void PauseDownload() = 0;
    virtual void ResumeDownload() = 0;
    ///@}
    /// Asks a running download to end and returns at once; the state changes when it has.
    virtual void StopDownload() = 0;
    /// Asks a running download to end, and makes the state Idle and the last error empty at once. The end of
    /// the run comes later and moves the state on, unless a new run has been started by then.
    virtual void ResetDownload() = 0;

    ///@{
    /// Values of the application's own, never looked at.
    virtual void SetOpaque(std::shared_ptr<void> opaque) = 0;
    virtual std::shared_ptr<void> GetOpaque() const = 0;
    virtual void SetDoubleOpaque(double opaque) = 0;
    virtual double GetDoubleOpaque() const = 0;
    ///@}

    ///@{
    /// Called before a change of state, with the old and the new one. Reset takes the function away.
    virtual void SetStateWillChangeFunc(std::function<void(HVDownloadState, HVDownloadState)> function) = 0;
    virtual void ResetStateWillChangeFunc() = 0;
    ///@}
    ///@{
    /// Called after a change of state, with the new one. Reset takes the function away.
    virtual void SetStateDidChangedFunc(std::function<void(HVDownloadState)> function) = 0;
    virtual void ResetStateDidChangeFunc() = 0;
    ///@}
    /// Called twice for each successful start, on the caller's thread and on the worker's, in no fixed order.
    virtual void SetDownloadStartFunc(std::function<void()> function) = 0;
    /// Gets the percentage, 0 to 100, which never falls within a run.
    virtual void SetDownloadProgressFunc(std::function<void(float)> function) = 0;
    /// Called once at the end of each run with its result, after the queue has started the next one and after
    /// the file stands in its place. A run that was replaced by a new start is not reported.
    virtual void SetDownloadCompleteFunc(std::function<void(std::shared_ptr<IHVError const>)> function) = 0;

    /// What the tool said of speed and remaining time with the latest progress of this run, such as
    /// "1.00MiB/s ETA 00:06"; may be empty.
    std::string ProgressText() const;
    /// The state is Downloading.
    bool DownloadWasStarted() const;
    /// The state is Done, with success or not.
    bool DownloadWasDone() const;
    /// Done, and with success.
    bool DownloadSucceed() const;
    /// The last error is a cancel. A normal stop keeps no error: compare State() with
    /// HVDownloadStateCancelled.
    bool DownloadCancelled() const;

protected:
    ~IHVDownloadController() = default;
};

} // namespace Halvorn

#pragma once
/// \class Halvorn::IHVDownloadController
/// The application's handle on the download of one item: its state, its result, and its callbacks.
/// Controllers live in a queue (IHVDownloadControllers), which decides when each one starts.
///
/// Thread-safety: every operation may be called from any thread. No lock is held while a function of the
/// application runs, so it may call back into the controller and the queue. The functions are called on the
/// thread that causes the report: the caller's, the task's worker, or, for progress, the thread that delivers
/// the tool's output; with an IHVCallbackDispatcher, where that brings them. Two of them may be called at the
/// same time. What one throws is logged and changes nothing.
///
/// A setter of a function returns when the former function is not called any more and no call of it is under
/// way on another thread: so hold no lock that the function takes. Inside a function of the application it
/// does not wait.
///
/// Ownership: shared pointers; the queue holds its controllers. When the last pointer to a controller goes
/// while its download runs, the download goes on and nobody is told.

#include "HVDownloadProgress.h"
#include "HVDownloadSkip.h"
#include "HVFormatWish.h"
#include "HVMetadataFiles.h"
#include "HVResumeSettings.h"
#include "IHVDownloadTaskDelegate.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace Halvorn {

class IHVDownloadArchive;
class IHVDownloadItem;
class IHVDownloadOptions;

/// The state of a controller. The values are fixed.
enum HVDownloadState {
    HVDownloadStateNone = 0,        ///< no controller's state; that of no controllers at all
    HVDownloadStateIdle = 1,        ///< not started, or reset
    HVDownloadStatePending = 2,     ///< waits for a free place in the queue
    HVDownloadStateDownloading = 3, ///< a task is starting or running
    HVDownloadStatePaused = 4,      ///< stopped by a pause, to go on later: see SetResumable
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
    /// The item's proposed file name, without extension; shared by all controllers of the item. Set here it
    /// also counts for this controller's wait or run that is under way, and not for those of others.
    virtual std::string GetDownloadOutputName() const = 0;
    virtual void SetDownloadOutputName(std::string const& name) = 0;
    ///@}
    /// Full path of the file that this controller's last successful run made; empty until there is one.
    /// Before the first start it is the item's IHVDownloadItem::GetDownloadFile.
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

    /// Starts a new run at once, whatever the state and the queue's limit. The run downloads what the item
    /// says at this moment: its chosen format, subtitle and name. A later choice is one for the next start,
    /// also of another controller of the same item. A failure is the run's end.
    virtual std::shared_ptr<IHVError const> StartDownload() = 0;
    /// Makes the controller wait for a free place. The run will download what the item says at this moment.
    virtual void PendingDownload() = 0;
    ///@{
    /// Without effect unless SetResumable was called. PauseDownload ends a running download, whose data
    /// stays; the state is Paused when it has ended, and no function hears an end. One that is Pending is
    /// Paused at once. ResumeDownload starts a Paused one, or lets it wait for a place in its queue; it goes
    /// on where it stopped. StopDownload makes a Paused one Cancelled.
    virtual void PauseDownload() = 0;
    virtual void ResumeDownload() = 0;
    ///@}
    /// Asks a running download to end and returns at once; the state changes when it has. It does nothing for
    /// a controller that is Pending, which starts all the same when its turn comes: see CancelDownload.
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
    /// Called for each change of state, with the old and the new one, before SetStateDidChangedFunc's
    /// function; State() is the old one in it. Changes are told one by one in the order in which they are
    /// made; one that is made while a thread tells another is told by that thread. Reset takes the function
    /// away.
    virtual void SetStateWillChangeFunc(std::function<void(HVDownloadState, HVDownloadState)> function) = 0;
    virtual void ResetStateWillChangeFunc() = 0;
    ///@}
    ///@{
    /// Called for each change of state, with the new one, which State() is in it. Reset takes the function
    /// away; the two names differ ("DidChanged", "DidChange"), and stay so for programs that use them.
    virtual void SetStateDidChangedFunc(std::function<void(HVDownloadState)> function) = 0;
    virtual void ResetStateDidChangeFunc() = 0;
    ///@}
    /// Called twice for each start, on the caller's thread and on the worker's, in no fixed order.
    virtual void SetDownloadStartFunc(std::function<void()> function) = 0;
    /// Gets the percentage, 0 to 100, which never falls within a run.
    virtual void SetDownloadProgressFunc(std::function<void(float)> function) = 0;
    /// Called once at the end of each run with its result, after the queue has started the next one and after
    /// the file stands in its place. A run that was replaced by a new start is not reported.
    virtual void SetDownloadCompleteFunc(std::function<void(std::shared_ptr<IHVError const>)> function) = 0;

    /// Has `choose` name the bundle for a site: it gets the host of the address that is to be asked, in small
    /// letters, and its bundle takes the place of that of SetOptions; with a null pointer that one stays. It
    /// is asked in each run, on its worker thread, see IHVDownloadTask::SetOptionsForSite. For runs from the
    /// next one on. No effect on other implementations.
    /// A function that throws counts as one that answers null. An empty function takes it back.
    void
    SetOptionsForSite(std::function<std::shared_ptr<IHVDownloadOptions>(std::string const& host)> choose);
    /// From the next start on, what a stopped, failed or killed download has fetched stays, and a later one
    /// of the same item, format and target goes on with it; also that of another controller or process. What
    /// the server has changed since is fetched anew. It needs a tool that loads our extension; a recording,
    /// and a download without a part file, begin anew. A run whose target folder can't be made, or not be
    /// written, fails before anything is fetched. No effect on other implementations.
    void SetResumable(HVResumeSettings const& settings);
    /// Removes the partial data of this item, its chosen format and the target. False while a download uses
    /// it.
    bool DiscardPartial();
    /// Bytes that an earlier download of this item, its chosen format and the target has left, for the next
    /// start to go on with; 0 where there are none. Looks at the file system. The child of a download that
    /// was stopped a moment ago may still add some.
    std::uint64_t PartialBytes() const;

    ///@{
    /// How the file of the next start is called, and in which folders below the output path it is to stand:
    /// see HVNameTemplate. Folders are made when the file takes its place. A failure names what is wrong with
    /// the template, and leaves the former one. Empty, as at first, for the item's name. No effect on other
    /// implementations.
    std::shared_ptr<IHVError const> SetNameTemplate(std::string const& text);
    std::string GetNameTemplate() const;
    ///@}

    /// Has the next starts analyse the item by themselves: one without any format before its download, which
    /// takes the best format of this wish, and one whose chosen format the site no longer has, once more with
    /// the best of what it has. So an item that only has its address (IHVDownloadItem::MallocDownloadItem)
    /// can be downloaded; it gets the title for a name, unless it has one. An address that leads to a list is
    /// a failure. DownloadItem itself keeps its formats: the application may be reading them. Without this
    /// the first is a failure and so is the second, but in a kept queue (IHVKeptQueue), where the best format
    /// is taken, or what comes nearest to the chosen one. No effect on other implementations.
    void SetAnalysisAtStart(HVFormatWish const& wish);
    ///@{
    /// Flags of HVDownloadSkip: a start that finds the item to be such a one fetches nothing, and ends as a
    /// success at once; looked at when the run begins, or after its analysis. DownloadOutputPathFile is then
    /// the existing file, or empty. WasSkipped tells which of them has ended the latest run so;
    /// HVDownloadSkipNone where none has. With HVDownloadSkipArchived a run waits while another one, of this
    /// process or another with the same archive, downloads the same. No effect on other implementations.
    void SetSkips(int skips);
    int GetSkips() const;
    HVDownloadSkip WasSkipped() const;
    ///@}
    /// Each finished download of the next starts is recorded there once its file is in its place; a failure
    /// of that is logged. Whether an item is in the archive already is for the application to ask, or for
    /// SetSkips. An empty pointer for none, as at first. No effect on other implementations.
    void SetArchive(std::shared_ptr<IHVDownloadArchive> archive);
    /// Which metadata the next starts write beside the file; nothing, as at first, unless set. What the site
    /// does not have is not there, which is no failure: see IHVDownloadItem::DownloadedMetadata. The tool
    /// writes them in the run of the download, with its proxy, cookies and headers. No effect on other
    /// implementations.
    void SetMetadataFiles(HVMetadataFiles const& files);
    /// Path of the file that has the name now which the next start would give: it would get a number. Empty
    /// when the name is free. Looks at the disk.
    std::string FindExistingFile() const;

    /// The function gets the progress in numbers, phase by phase: at most so many calls a second (all of them
    /// for 0), but the last record of each phase always, also the one in which the file is in its place. On
    /// the thread that delivers the tool's output, and on the worker. An empty function takes it away.
    void SetProgressFunc(std::function<void(HVDownloadProgress const&)> function, int mostCallsASecond = 10);
    /// The latest record of the current run, also where no function is set.
    HVDownloadProgress GetProgress() const;

    /// Cancels whatever is to come, and returns at once: a controller that is Pending becomes Idle, and hears
    /// no end; a running download is asked to end, as by StopDownload. Nothing happens in other states.
    void CancelDownload();
    /// Ends the recording of a live stream (IHVDownloadItem::IsLiveStream) with what there is by now, and
    /// returns at once: the tool is interrupted, as by Ctrl-C at a terminal, completes the file, which takes
    /// a moment for each gigabyte, and the run ends with the playable file in its place. A run that has
    /// recorded nothing ends as a stopped one. StopDownload and CancelDownload give up what is recorded, also
    /// now. False, and nothing happens, where no live stream is being recorded.
    bool FinishDownload();
    /// What the recording of a live stream has come to.
    struct Recording {
        int seconds = 0;        ///< of the stream, which may hand out its latest seconds at once
        std::int64_t bytes = 0; ///< in the temporary folder
    };
    /// Of the run that is under way; nothing of another one. Progress functions are not called for a live
    /// stream: ask this from time to time. It looks at the file system.
    Recording RecordedSoFar() const;
    /// Blocks for at most so many milliseconds until nothing of this controller is under way: it neither
    /// waits nor runs, its complete function has returned, and all changes of state are told. HVErrSuccess
    /// then, HVErrTimeout when the time ran out, HVErrFailure inside a function of the application, where a
    /// wait might never end. A run that was replaced or reset counts, too. With an IHVCallbackDispatcher
    /// reports may still wait in it.
    int WaitFinish(unsigned int milliseconds) const;

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

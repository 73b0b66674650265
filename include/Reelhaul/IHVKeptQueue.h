#pragma once
/// \class Halvorn::IHVKeptQueue
/// A queue that outlives the application: its rows stand in a file, and each change to them is stored there.
///
/// Open gives a queue (IHVDownloadControllers) with the rows of the file. From then on all that is done to it
/// and its controllers is stored: rows added, removed and moved, ticks (IHVDownloadController::SetChecked),
/// target folders, names, options, states, results and errors. After a crash, also of the system, or a kill
/// the next opening gives the same rows: what was done is done and has its path, what ran goes on where it
/// stopped (IHVDownloadControllers::SetResumable), no row is lost or there twice.
///
/// Of a row's item are kept its address, who it is on its site, and the chosen format and subtitles; not the
/// other formats, the thumbnail, or the media's addresses. It can be started as it is, without an analysis:
/// the tool asks the site in the run of the download. A row without a format, or with one that the site no
/// longer has, is analysed when it starts: see IHVDownloadController::SetAnalysisAtStart. So is one that is
/// known by its place in a list alone: another item that stands there by then is a failure.
///
/// The tool's document of an analysis (IHVDownloadTask::SetKeepForDownload) is used as long as its process
/// lives, and not kept over a restart: it may hold cookies, and addresses that let anybody in, for which a
/// file that outlives the application is no place; without those it would rarely serve, most would have
/// expired, and what it saves is one request for the page.
///
/// Kept with a row are also its name template, metadata files, skips, wish of a format, and the archive: by
/// the path of its file, so not an application's own implementation.
///
/// Passwords and cookies are not stored, and neither is what an application keeps in controllers
/// (SetOpaque, SetSelected, functions). Needs tells what a row lacks: give it by
/// IHVDownloadController::SetOptions. The addresses are stored as they are. The files are for the user alone.
///
/// Thread-safety: every operation may be called from any thread. A change costs its caller some microseconds:
/// a thread of the queue's own writes it, as a whole or not at all. Ownership: shared pointers; the file
/// stays open while the queue of Controllers lives, or until Close.
///
/// One process has a file open, and once. The file is one of SQLite, with two others beside it while it is
/// open, and one for the lock.

#include "HVKeptNeed.h"
#include "HVResumeSettings.h"
#include "IHVDownloadControllers.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Halvorn {

/// How a kept queue is opened; plain values.
struct HVKeptQueueSettings {
    /// What ran or waited for a place is Paused; else it is Pending, and StartWaiting starts it.
    bool pauseInterrupted = false;
    /// IHVDownloadControllers::SetResumable of the queue.
    HVResumeSettings resume;
    /// IHVDownloadController::SetJSRuntimePath of the rows in the file.
    std::string jsRuntimePath;
};

/// A row as it stands in the file, as ReadRows gives it; plain values, texts as they came from the site.
struct HVKeptRow {
    std::int64_t number = 0;                     ///< IHVKeptQueue::Number
    HVDownloadState state = HVDownloadStateIdle; ///< Downloading also for one whose process was killed
    bool checked = true;                         ///< its tick
    std::string address;                         ///< of the item, or of the list that it is an entry of
    std::string title;                           ///< the name of its file; its address before it has one
    std::string format;                          ///< the tool's identifier; empty where none is chosen
    std::string formatText;                      ///< the same as a user sees it
    std::string folder;                          ///< its target
    std::string file;                            ///< what the last successful run made
    std::shared_ptr<IHVError const> error;       ///< result of the last attempt; empty before one
    int needs = HVKeptNeedNone;                  ///< flags of HVKeptNeed
};

class HV_EXPORT IHVKeptQueue {
public:
    /// Opens the file, and makes it and its folder where they are missing. Empty on a failure, which `error`
    /// tells: another process has the file (the message names it), it is damaged, a newer version has written
    /// it, or it can't be written. None of that changes the file. Blocks for reading the rows, 0.1 s for each
    /// 10,000.
    static std::shared_ptr<IHVKeptQueue> Open(std::string const& file, HVKeptQueueSettings const& settings,
                                              std::shared_ptr<IHVError const>& error);
    /// Gives a damaged file, or a newer one, another name in its folder, so that the next Open begins anew.
    /// `newName` gets the new path. Fails while a process has it open.
    static std::shared_ptr<IHVError const> PutAside(std::string const& file, std::string& newName);
    /// The rows of a file in their order, also of one that a process has open. Blocks as Open. None, and no
    /// failure, where there is no file.
    static std::vector<HVKeptRow> ReadRows(std::string const& file, std::shared_ptr<IHVError const>& error);
    /// The process that has the file open: 0 for none, -1 for one that can't be named.
    static int Holder(std::string const& file);

    /// The queue of the rows.
    virtual std::shared_ptr<IHVDownloadControllers> Controllers() const = 0;
    /// Starts rows that are Pending, as places are free. Open starts none.
    virtual void StartWaiting() = 0;
    /// Stores what the application has changed of the item itself: its chosen format, its subtitles, its
    /// name. Without it that is stored when the row is started or made to wait.
    virtual void Store(std::shared_ptr<IHVDownloadController> const& controller) = 0;
    /// Moves a row to another place in the list, in one change; to remove and insert it would be two. An
    /// index outside the list means its nearer end. False for a controller that is not in the queue.
    virtual bool Move(std::shared_ptr<IHVDownloadController> const& controller, int index) = 0;
    /// A row's number, which stays the same as long as there is the row and is never given to another one; 0
    /// for a controller that is not in the queue.
    virtual std::int64_t Number(std::shared_ptr<IHVDownloadController> const& controller) const = 0;
    /// What a row had when it was stored and lacks since the file was opened: flags of HVKeptNeed. 0 after
    /// IHVDownloadController::SetOptions.
    virtual int Needs(std::shared_ptr<IHVDownloadController> const& controller) const = 0;

    /// Blocks for at most so many milliseconds until all changes up to now are on the disk: HVErrSuccess
    /// then, HVErrTimeout when the time ran out, HVErrFailure when they can't be written: see LastError.
    virtual int Flush(unsigned int milliseconds) = 0;
    /// Why the latest changes are not stored, such as a full disk; empty where all is well. They are kept in
    /// memory, and tried again with the next change, with Flush and with Close.
    virtual std::shared_ptr<IHVError const> LastError() const = 0;
    /// Has rows stored from here on only as they get done: before an application that ends stops its
    /// downloads in its own way. Rows that ran or waited are found so at the next opening. Close does it by
    /// itself.
    virtual void KeepStates() = 0;
    /// To be called when the application ends: stops all downloads, and waits for them for at most so many
    /// milliseconds, as IHVDownloadControllers::WaitFinish, then closes the file. Rows that ran or waited are
    /// stored so, and not as stopped. What is done to the queue after that is not stored. The result is that
    /// of WaitFinish, or HVErrFailure when the last changes could not be stored.
    virtual int Close(unsigned int milliseconds) = 0;

protected:
    ~IHVKeptQueue() = default;
};

} // namespace Halvorn

#pragma once
/// \class Halvorn::IHVDownloadTask
/// One unit of work against the tool on a worker thread of its own: the analysis of a web address or the
/// download of an item. A task object runs once.
///
/// Thread-safety: set delegate, options and runtime path before `StartTask`. `StopTask`, `WaitFinish`,
/// `SetDelegate` and the getters may be called from any thread at any time. Ownership: shared pointers. A
/// started task keeps itself alive until its work is done and its reports are made, so its last pointer may
/// be dropped at any moment; its delegate is not owned.

#include "HVConstants.h"
#include "HVExport.h"
#include "HVListEntry.h"
#include "IHVError.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Halvorn {

class IHVDownloadItem;
class IHVDownloadOptions;
class IHVDownloadTaskDelegate;
class IHVPlayList;

/// What a task does.
enum HVTaskType { HVTaskTypeParse = 0, HVTaskTypeDownload = 1 };

class HV_EXPORT IHVDownloadTask {
public:
    /// An entry of a playlist that could not be loaded.
    struct FailedEntry {
        int number = 0;                        ///< its place in the list, from 1
        std::string url;                       ///< its address; empty where the list names none
        std::shared_ptr<IHVError const> error; ///< never empty
        int level = 0; ///< 0 in the list that was asked for, 1 in a list inside it; see SetListDepth
    };

    /// A task that analyses the web address. An empty address is refused by the run, not here.
    static std::shared_ptr<IHVDownloadTask> MallocDownloadTask(std::string const& url);
    /// A task that downloads the item, in its current format, into the folder `outputPath`.
    static std::shared_ptr<IHVDownloadTask> MallocDownloadTask(std::shared_ptr<IHVDownloadItem> item,
                                                               std::string const& outputPath);
    /// A task that analyses the web address from the tables that the tool prints for people instead of from
    /// its JSON: no subtitles, no estimated sizes, the tool's file names for titles, the duration by
    /// IHVDownloadItem::KnownDurationSeconds alone, and items only at the end.
    static std::shared_ptr<IHVDownloadTask> MallocTextDownloadTask(std::string const& url);

    ///@{
    /// The bundle is shared with the caller, not copied.
    virtual void SetOptions(std::shared_ptr<IHVDownloadOptions> options) = 0;
    virtual std::shared_ptr<IHVDownloadOptions const> GetOptions() const = 0;
    ///@}
    ///@{
    /// Null means that nobody listens. When SetDelegate returns, the former delegate is called no more, and
    /// no call of it is under way on another thread: it may be destroyed. So hold no lock that it takes.
    /// Called from a function that the library calls, such as the delegate's own operations, it does not
    /// wait: a report on another thread may then end a little later.
    virtual void SetDelegate(IHVDownloadTaskDelegate* delegate) = 0;
    virtual IHVDownloadTaskDelegate* GetDelegate() = 0;
    ///@}
    /// HVTaskTypeParse for an analysis, HVTaskTypeDownload for a download.
    virtual HVTaskType GetTaskType() = 0;
    /// The address of the analysis, or of the item's playlist if it has one, or of the item.
    virtual std::string TaskURL() const = 0;
    /// Starts the worker and returns at once. Fails for a task that was started before, also after its end,
    /// and for no other reason. A worker that can't be had is no failure here but the task's completion, on
    /// the caller's thread.
    virtual std::shared_ptr<IHVError const> StartTask() = 0;
    /// Asks for an end and returns at once. The running tool is asked to end in this very call; the task then
    /// reports its completion, within half a second unless the tool does not let itself be ended. A stop
    /// before StartTask has no effect: a start forgets it.
    virtual void StopTask() = 0;
    ///@{
    /// Path of the JS runtime that the tool is to use; empty for none.
    virtual void SetJSRuntimePath(std::string const& path) = 0;
    virtual std::string GetJSRuntimePath() = 0;
    ///@}
    /// Blocks for at most so many milliseconds until the work is done: HVErrSuccess, or HVErrTimeout when the
    /// time ran out, or HVErrFailure for a task that was not started. Not to be called from a delegate's
    /// operation. With an IHVCallbackDispatcher reports may still wait in it.
    virtual int WaitFinish(unsigned int milliseconds) = 0;

    /// Whether StopTask was called while the run was under way. A stopped analysis may report a failure or a
    /// success besides the cancel: ask this in DownloadTaskCompleted or later to know what the user wanted.
    bool WasStopped() const;
    /// The entries that an analysis has failed to load so far, in the order of the list: an entry is among
    /// them before its progress is reported. Entries that a stop has kept from loading are not. Empty for a
    /// download.
    std::vector<FailedEntry> FailedEntries() const;

    /// Has `choose` name the bundle for a site: it gets the host of the address that is to be asked, in small
    /// letters, and its bundle takes the place of that of SetOptions; with a null pointer that one stays. It
    /// is asked once for each host of a task, before the run that it counts for: an analysis has hosts of its
    /// entries and pictures, a download that of its item. To be set before StartTask; called on the task's
    /// threads, several of which may ask at the same time.
    /// A function that throws counts as one that answers null. An empty function takes it back.
    void
    SetOptionsForSite(std::function<std::shared_ptr<IHVDownloadOptions>(std::string const& host)> choose);

    /// \name The full analysis
    /// What an analysis does beyond the plain one. Everything is off, or empty, until it is set. To be set
    /// before StartTask; without effect on a download. The functions are called on the task's worker, or by
    /// the dispatcher (see IHVCallbackDispatcher), but for the filter, which is always called on the worker.
    ///@{
    /// Takes what the tool finds as the tool takes it:
    /// - a document without a list of formats is an item of one format;
    /// - entries that the flat listing holds whole are taken from it, without another run of the tool;
    /// - a video in several parts is a list, and a list inside a list is told (IHVPlayList::Lists) instead of
    ///   being analysed video by video; one level of them is gone into for each level of SetListDepth;
    /// - an entry of a feed keeps the feed's title;
    /// - of thumbnails without sizes the last one is the best, as the tool means it;
    /// - tables may hold a bar in an identifier or a note, sizes in TiB, and no duration; the name that the
    ///   tool would give the file is taken without its extension;
    /// - a stop is reported as a cancel, once.
    void SetFullAnalysis(bool full);
    /// How many levels of lists inside the list are gone into; 0 only tells of them. An address that leads
    /// back to itself is not gone into again. In a full analysis.
    void SetListDepth(int levels);
    /// Which entries of a list are loaded, by their number from 1: pairs of the first and the last one, a
    /// last one of 0 for the end of the list. A number below 0 counts from the end, -1 is the last entry:
    /// {-10, 0} means the last ten. Empty for all. In lists inside the list the numbers count there. The tool
    /// then lists these alone, which is far quicker than a filter where the list is long. In a full analysis.
    void SetWantedEntries(std::vector<std::pair<int, int>> ranges);
    /// Of those entries, of each list, loads at most so many: the newest by the dates that the listing tells,
    /// and behind them, where it tells none, the first ones, since sites list the newest first. Lists inside
    /// the list don't count. They are reported in the order of the list. 0 or less for all. The tool has to
    /// list all the others for it; SetWantedEntries limits that. In a full analysis.
    void SetNewestEntries(int count);
    /// Asks `filter` for each of those entries, before any is loaded, whether it is wanted. In a full
    /// analysis.
    void SetEntryFilter(std::function<bool(HVListEntry const&)> filter);
    /// Hands over a list as soon as the tool has listed it, before any entry is loaded. Of the playlist all
    /// but the items may be read. Called again for each list inside it that is gone into. In a full analysis.
    void SetListFunc(
        std::function<void(std::shared_ptr<IHVPlayList const>, std::vector<HVListEntry> const&)> list);

    /// Reads the tool's tables where it printed neither JSON nor a reason, and logs a warning. In a full
    /// analysis.
    void SetTablesWhereNoJson(bool tables);
    /// Whether the bytes of the best thumbnail are fetched, which costs a run of the tool for each item;
    /// true until it is set. In every analysis.
    void SetThumbnailBytes(bool fetch);
    /// Whether the library asks for those bytes itself, which takes as long as the site does, instead of by a
    /// run of the tool: with the headers that the tool would send, and the proxy, the cookies file and the
    /// certificates of the options. Where it gets no picture so, and for a browser's cookies, the tool runs
    /// as without it. False until it is set. In every analysis.
    void SetThumbnailsByHTTP(bool byHTTP);
    /// Whether thumbnails in WebP are taken. In every analysis from JSON; one from tables takes them always.
    void SetWebPThumbnails(bool take);
    /// Whether items keep their documents, see IHVDownloadItem::DocumentText. In every analysis from JSON.
    void SetKeepDocuments(bool keep);
    /// Whether the tool's document about an item is kept for its download: the tool then downloads by that
    /// instead of fetching and reading the page anew. The file is in the private temporary folder, for the
    /// user alone to read, as long as the item lives. A download goes by the address all the same where its
    /// options would have the tool find something else, for a live stream, three hours after the analysis,
    /// and where what the site named has expired. False until it is set. In every analysis from JSON.
    void SetKeepForDownload(bool keep);
    /// How many entries of a list are loaded at the same time; 1, one after the other, until it is set. Less
    /// than 1 counts as 1. Reports come in the order of the list all the same, so an entry that is loaded
    /// early waits for those before it; the numbers of a progress count what is loaded. There are as many
    /// threads and runs of the tool. In every analysis.
    void SetAnalysesAtOnce(int entries);
    /// How many of those may be of one site, that is of one host of their addresses; 4 until it is set.
    void SetAnalysesPerSite(int entries);
    ///@}

protected:
    ~IHVDownloadTask() = default;
};

} // namespace Halvorn

#pragma once
// The downloads of a run: one queue of the library, and what is told of it. For the main thread alone.

#include "HVProgressDisplay.h"

#include <Reelhaul/IHVDownloadControllers.h>
#include <Reelhaul/IHVDownloadItem.h>
#include <Reelhaul/IHVKeptQueue.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Halvorn {

struct HVRequest;
class HVSession;

class HVDownloads {
public:
    /// `kept` is empty for a queue that ends with the run; else nothing of it is lost by a stop.
    HVDownloads(HVSession& session, HVRequest const& request, HVProgressDisplay& display,
                std::shared_ptr<IHVKeptQueue> kept);

    /// Downloads the item, in its current format, as soon as there is a place. Where what exists is to be
    /// skipped, and there is a file of its name, it does not, and returns the file's path.
    std::string Add(std::shared_ptr<IHVDownloadItem> const& item);
    /// Downloads these rows of the kept queue, as soon as there are places.
    void AddKept(std::vector<int> const& rows);
    /// The same with all rows that wait there.
    void AddWaiting();
    /// Removes what an earlier download of the item, in its current format, has left. Returns the fault.
    std::string Discard(std::shared_ptr<IHVDownloadItem> const& item);
    /// Bytes of unfinished downloads that the next call can go on with.
    std::uint64_t KeptBytes() const;
    /// Asks all to end; what waits does not start any more.
    void StopAll();
    /// Finishes what is being recorded, and asks the rest to end as StopAll does. False, and nothing happens,
    /// when nothing is recorded that is not being finished already.
    bool FinishRecordings();
    /// To be called several times a second.
    void Tick();
    /// What all rows of this call come to: a kept queue has those of former ones, too. Tick does it by
    /// itself, but not after the last end.
    void TellTotal();

    bool AllOver() const { return over_ == rows_.size(); }
    /// Whether something that was asked for is not there.
    bool AnyFailed() const { return failed_; }
    bool AnyCancelled() const { return cancelled_; }

private:
    struct Row {
        std::shared_ptr<IHVDownloadController> controller;
        int place = -1;        ///< in the queue
        std::string title;     ///< the address until it is known
        std::string firstName; ///< the item's at first
        std::string url;
        std::string format;
        std::vector<std::string> subtitles; ///< languages
        float percent = 0;
        std::string text;          ///< the tool's, on speed and time
        HVDownloadProgress record; ///< the latest that was told
        bool started = false;
        bool over = false;
        bool live = false;      ///< recorded until it is finished
        bool finishing = false; ///< the recording is being completed
        int told = 0;           ///< seconds of the recording that were told
    };
    using Errors = std::vector<std::shared_ptr<IHVError const>>;

    void KeepTerms(IHVDownloadController& controller) const;
    void AddRow(std::shared_ptr<IHVDownloadController> const& controller);
    void StoreRow(std::shared_ptr<IHVDownloadController> const& controller);
    void Listen(IHVDownloadController& controller, int row);
    void Started(int row);
    void Progressed(int row, float percent, std::string const& text, HVDownloadProgress const& record);
    void Recorded(int row, HVDownloadProgress const& record);
    void TakeTitle(Row& row, int id);
    void TellProgress(int row, HVDownloadProgress const& record);
    void Completed(int row, std::shared_ptr<IHVError const> const& error);
    void Skipped(Row const& row, int id, HVDownloadSkip reason);
    void Finished(Row const& row, int id);
    void EndRow(Row& row, int id);
    void Cancel(Row& row, int id);
    void CollectFailedStarts();
    bool Finish(Row& row);
    void StopRest();
    void TellOfRecording(Row& row, int id);

    HVSession& session_;
    HVRequest const& request_;
    HVProgressDisplay& display_;
    std::shared_ptr<IHVKeptQueue> const kept_;
    std::shared_ptr<IHVDownloadControllers> const queue_;
    std::vector<Row> rows_;
    std::chrono::steady_clock::time_point totalTold_;
    std::size_t over_ = 0;
    bool stopping_ = false;
    bool failed_ = false;
    bool cancelled_ = false;
    bool finishing_ = false; ///< recordings are being completed, the rest stops
};

} // namespace Halvorn

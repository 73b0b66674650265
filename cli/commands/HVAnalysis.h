#pragma once
// The analysis of one address, with its reports on the main thread.

#include "HVMainQueue.h"

#include <Reelhaul/IHVDownloadItem.h>
#include <Reelhaul/IHVDownloadTask.h>
#include <Reelhaul/IHVDownloadTaskDelegate.h>
#include <Reelhaul/IHVPlayList.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Halvorn {

struct HVRequest;

class HVAnalysis final : public IHVDownloadTaskDelegate, public std::enable_shared_from_this<HVAnalysis> {
public:
    /// All are called on the main thread; nothing is called behind `done`.
    struct Listener {
        std::function<void(std::string const& message)> progress;
        std::function<void(std::shared_ptr<IHVDownloadItem>)> item;
        std::function<void(std::shared_ptr<IHVPlayList>)> playList;
        std::function<void(std::shared_ptr<IHVError const>)> done;
        /// A list before its entries are loaded; for each list inside it, too. May be empty.
        std::function<void(std::shared_ptr<IHVPlayList const>, std::vector<HVListEntry> const&)> listed = {};
    };

    HVAnalysis(std::shared_ptr<HVMainQueue> queue, Listener listener);

    /// Returns the failure of a start; then nothing is called.
    std::shared_ptr<IHVError const> Start(std::string const& url, HVRequest const& request);
    void Stop();
    /// Number of entries of a playlist that were tried so far, and which of them, from 1, did not load; a 0
    /// for one of a list inside the list.
    int EntryCount() const { return entryCount_; }
    /// Number of entries that the list has; 0 where it is not known.
    int ListedCount() const { return listedCount_; }
    std::vector<int> FailedEntries() const;

    void DownloadTaskStarted(std::string message, IHVDownloadTask const* task) override;
    void DownloadTaskProgress(std::string message, float percent, IHVDownloadTask const* task) override;
    void DownloadTaskGetPlayList(std::shared_ptr<IHVPlayList> playList, IHVDownloadTask const* task) override;
    void DownloadTaskGetPlayItem(std::shared_ptr<IHVDownloadItem> item, IHVDownloadTask const* task) override;
    void DownloadTaskCompleted(std::shared_ptr<IHVError const> error, IHVDownloadTask const* task) override;

private:
    void Ask(HVRequest const& request);
    void Post(std::function<void(HVAnalysis&)> work);
    void TakeItemsOf(std::shared_ptr<IHVPlayList> const& playList);
    void Finish(std::shared_ptr<IHVError const> const& error);

    std::shared_ptr<HVMainQueue> queue_;
    Listener listener_;
    std::shared_ptr<IHVDownloadTask> task_;
    /// The task doesn't own its delegate: this object keeps itself until the task's work is over.
    std::shared_ptr<HVAnalysis> self_;
    bool done_ = false;
    bool itemsCame_ = false;
    int entryCount_ = 0;
    int listedCount_ = 0;
};

} // namespace Halvorn

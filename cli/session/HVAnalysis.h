#pragma once
// The analysis of one address, with its reports on the main thread.

#include "HVMainQueue.h"

#include <Reelhaul/IHVAnalysisGroup.h>
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
        /// An entry of a playlist that did not load, before the progress that counts it.
        std::function<void(IHVDownloadTask::FailedEntry const&)> failedEntry;
        std::function<void(std::shared_ptr<IHVError const>)> done;
        /// A list before its entries are loaded; for each list inside it, too. Where no more than the list is
        /// wanted, with its wanted entries alone. May be empty.
        std::function<void(std::shared_ptr<IHVPlayList const>, std::vector<HVListEntry> const&)> listed = {};
        /// An entry that is not loaded, since the archive knows it. May be empty.
        std::function<void(HVListEntry const&)> skipped = {};
    };

    HVAnalysis(std::shared_ptr<HVMainQueue> queue, Listener listener);
    ~HVAnalysis();
    HVAnalysis(HVAnalysis const&) = delete;
    HVAnalysis& operator=(HVAnalysis const&) = delete;

    /// Has the group begin it when there is a place.
    void Start(std::string const& url, HVRequest const& request, IHVAnalysisGroup& group);
    /// Number of entries of a playlist that were tried so far, and those of them that did not load.
    int EntryCount() const { return entryCount_; }
    std::vector<IHVDownloadTask::FailedEntry> const& FailedEntries() const { return failedEntries_; }
    /// Number of entries that the list has; 0 where it is not known.
    int ListedCount() const { return listedCount_; }

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
    bool done_ = false;
    bool itemsCame_ = false;
    int entryCount_ = 0;
    int listedCount_ = 0;
    std::shared_ptr<IHVPlayList const> list_; ///< where no more than the list is wanted
    std::vector<HVListEntry> chosen_;         ///< of its entries; of the worker until it completes
    std::vector<IHVDownloadTask::FailedEntry> failedEntries_;
};

} // namespace Halvorn

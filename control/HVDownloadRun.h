#pragma once
// One run of a controller: the choice that it downloads, and what its task reports to. The task owns the run,
// and the run passes the reports on to the controller as long as that lives.
//
// A run outlives its controller's place in a queue, and the controller itself. A queue from which a running
// row is removed still counts the run, and is told of its end by the run.
//
// Thread-safe. No lock is held while a queue or a controller is told.

#include "HVDownloadController.h"
#include "HVLatch.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Halvorn {

class HVDownloadRun final : public IHVDownloadTaskDelegate {
public:
    /// `choice` is the item with the format, the subtitle and the name of this run; it may be `item` itself.
    HVDownloadRun(std::weak_ptr<HVDownloadController> controller, std::shared_ptr<IHVDownloadItem> item,
                  std::shared_ptr<IHVDownloadItem> choice);

    void DownloadTaskStarted(std::string message, IHVDownloadTask const* task) override;
    void DownloadTaskProgress(std::string message, float percent, IHVDownloadTask const* task) override;
    void DownloadTaskGetPlayList(std::shared_ptr<IHVPlayList>, IHVDownloadTask const*) override {}
    void DownloadTaskGetPlayItem(std::shared_ptr<IHVDownloadItem>, IHVDownloadTask const*) override {}
    void DownloadTaskCompleted(std::shared_ptr<IHVError const> error, IHVDownloadTask const* task) override;

    std::shared_ptr<IHVDownloadItem> const& Choice() const { return choice_; }
    bool BelongsTo(std::weak_ptr<HVDownloadController> const& controller) const;
    /// Whether the task has reported its end, after which the run takes no place in a queue.
    bool Ended() const { return ended_; }
    /// Has this queue told of the end, too.
    void AlsoTell(std::weak_ptr<HVDownloadControllers> queue);
    /// Marks the end and tells the queues of AlsoTell; nothing the second time.
    void End();
    /// Ends a run whose task is never started.
    void Drop();
    /// Waits until the end has been reported to all: as HVLatch::Wait.
    int WaitUntilOver(unsigned int milliseconds) const { return over_.Wait(milliseconds); }
    bool Over() const { return over_.Raised(); }

private:
    std::weak_ptr<HVDownloadController> const controller_;
    std::shared_ptr<IHVDownloadItem> const item_;
    std::shared_ptr<IHVDownloadItem> const choice_;
    std::atomic<bool> ended_ = false;
    HVLatch over_;
    std::mutex mutex_; // guards what follows
    std::vector<std::weak_ptr<HVDownloadControllers>> queues_;
};

} // namespace Halvorn

#include "HVDownloadRun.h"

#include "HVDownloadControllers.h"
#include "HVDownloadItem.h"

#include <utility>

namespace Halvorn {

HVDownloadRun::HVDownloadRun(std::weak_ptr<HVDownloadController> controller,
                             std::shared_ptr<IHVDownloadItem> item, std::shared_ptr<IHVDownloadItem> choice)
    : controller_(std::move(controller)), item_(std::move(item)), choice_(std::move(choice)) {}

void HVDownloadRun::DownloadTaskStarted(std::string message, IHVDownloadTask const* task) {
    if (auto const controller = controller_.lock())
        controller->DownloadTaskStarted(std::move(message), task);
}

void HVDownloadRun::DownloadTaskProgress(std::string message, float percent, IHVDownloadTask const* task) {
    if (auto const controller = controller_.lock())
        controller->DownloadTaskProgress(std::move(message), percent, task);
}

void HVDownloadRun::DownloadTaskCompleted(std::shared_ptr<IHVError const> error,
                                          IHVDownloadTask const* task) {
    auto const controller = controller_.lock();
    /// Whatever fails here, nobody waits for ever.
    struct OverAtEnd {
        HVDownloadController* const controller;
        HVLatch& over;
        ~OverAtEnd() {
            if (controller != nullptr)
                controller->RunIsOver();
            over.Raise();
        }
    } const atEnd{controller.get(), over_};
    // The item that the application knows learns the path, also when the controller is gone.
    if (item_ != choice_ && item_ != nullptr && !choice_->GetDownloadFile().empty()) {
        if (auto* const item = dynamic_cast<HVDownloadItem*>(item_.get())) {
            item->SetSideFiles(choice_->DownloadedSubtitles());
            item->SetMetadataPaths(choice_->DownloadedMetadata());
            item->SetFiles(choice_->DownloadedFiles());
        }
        item_->SetDownloadedFile(choice_->GetDownloadFile());
    }
    if (controller != nullptr)
        controller->DownloadTaskCompleted(std::move(error), task);
    End();
}

bool HVDownloadRun::BelongsTo(std::weak_ptr<HVDownloadController> const& controller) const {
    return !controller_.owner_before(controller) && !controller.owner_before(controller_);
}

void HVDownloadRun::AlsoTell(std::weak_ptr<HVDownloadControllers> queue) {
    std::lock_guard const lock(mutex_);
    queues_.push_back(std::move(queue));
}

void HVDownloadRun::End() {
    ended_ = true;
    std::vector<std::weak_ptr<HVDownloadControllers>> queues;
    {
        std::lock_guard const lock(mutex_);
        queues_.swap(queues);
    }
    for (auto const& entry : queues)
        if (auto const queue = entry.lock())
            queue->DownloadCompleted(nullptr);
}

void HVDownloadRun::Drop() {
    End();
    over_.Raise();
}

} // namespace Halvorn

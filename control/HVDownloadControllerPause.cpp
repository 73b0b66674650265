// How a controller whose partial data is kept pauses and goes on.

#include "HVDownloadController.h"
#include "HVDownloadControllers.h"
#include "HVPartialData.h"
#include "IHVDownloadItem.h"

namespace Halvorn {

void HVDownloadController::PauseDownload() {
    std::shared_ptr<HVDownloadTask> task;
    {
        std::lock_guard const lock(mutex_);
        // Of a recording nothing would be left.
        if (!resume_.has_value() || item_ == nullptr || item_->IsLiveStream())
            return;
        resumeWanted_ = false;
        if (state_ == HVDownloadStateDownloading)
            task = TakeRunToStop();
        pauseWanted_ = task != nullptr;
    }
    if (task != nullptr)
        task->StopTask();
    else if (ChangeState(HVDownloadStatePaused,
                         [](HVDownloadState state) { return state == HVDownloadStatePending; }))
        TellChanges();
}

void HVDownloadController::ResumeDownload() {
    std::vector<std::shared_ptr<HVDownloadControllers>> owners;
    {
        std::lock_guard const lock(mutex_);
        // A run that still ends for its pause is followed by the next.
        resumeWanted_ = pauseWanted_;
        if (state_ != HVDownloadStatePaused)
            return;
        owners = Owners();
    }
    auto const self = weak_from_this().lock();
    int const row = owners.empty() ? -1 : owners.front()->IndexOfController(self);
    if (row < 0 || !GetChecked())
        StartDownload();
    else
        owners.front()->StartRows({row}); // as soon as there is a place
}

/// Whether this run ends for a pause.
bool HVDownloadController::TakePause(IHVDownloadTask const* task) {
    std::lock_guard const lock(mutex_);
    bool const paused = pauseWanted_ && task_.get() == task;
    if (paused)
        pauseWanted_ = false;
    return paused;
}

bool HVDownloadController::RemovePartialData() {
    auto const settings = Get(resume_);
    std::string const target = Get(outputPath_);
    if (item_ == nullptr || target.empty())
        return false;
    bool inUse = false;
    auto const partial = HVPartialFolder::Open(PartialParent(settings.value_or(HVResumeSettings()), target),
                                               PartialName(*item_, target), inUse);
    if (partial != nullptr)
        partial->Remove();
    return partial != nullptr;
}

} // namespace Halvorn

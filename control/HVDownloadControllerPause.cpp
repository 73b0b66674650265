// How a controller whose partial data is kept pauses and goes on.

#include "HVDownloadController.h"
#include "HVDownloadControllers.h"
#include "HVFileSystem.h"
#include "HVPartialData.h"
#include "IHVDownloadItem.h"
#include "IHVFileProvider.h"

namespace Halvorn {

void HVDownloadController::PauseDownload() {
    std::shared_ptr<HVDownloadTask> task;
    auto const subject = Subject();
    {
        std::lock_guard const lock(mutex_);
        // Of a recording nothing would be left.
        if (!resume_.has_value() || subject == nullptr || subject->IsLiveStream())
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

/// The folder of this download's partial data, and that one's parent; empty texts without an item or target.
std::pair<std::string, std::string> HVDownloadController::PartialPlace() const {
    std::string const target = Get(outputPath_);
    auto const item = Subject();
    if (item == nullptr || target.empty())
        return {};
    return {PartialParent(Get(resume_).value_or(HVResumeSettings()), target),
            PartialName(*item, target, Get(options_).get())};
}

bool HVDownloadController::RemovePartialData() {
    auto const [parent, name] = PartialPlace();
    if (name.empty())
        return false;
    if (!AnyEntryExists(IHVFileProvider::AppendPathComponent(parent, name)))
        return true;
    bool inUse = false;
    auto const partial = HVPartialFolder::Open(parent, name, inUse);
    if (partial != nullptr)
        partial->Remove();
    return partial != nullptr;
}

std::uint64_t HVDownloadController::PartialBytesThere() const {
    auto const [parent, name] = PartialPlace();
    return name.empty() ? 0 : HVPartialFolder::Bytes(parent, name);
}

} // namespace Halvorn

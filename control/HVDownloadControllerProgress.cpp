// What a controller tells of its progress in numbers.

#include "HVDownloadController.h"

#include "IHVDownloadItem.h"

#include <utility>

namespace Halvorn {

namespace {

using Clock = std::chrono::steady_clock;

} // namespace

void HVDownloadController::SetProgressRecordFunc(std::function<void(HVDownloadProgress const&)> function,
                                                 int mostCallsASecond) {
    recordPause_ = mostCallsASecond > 0 ? 1000 / mostCallsASecond : 0;
    progressRecord_.Set(std::move(function));
}

HVDownloadProgress HVDownloadController::ProgressNow() const {
    std::lock_guard const lock(mutex_);
    return progress_;
}

HVDownloadProgress HVDownloadController::WaitingFor(IHVDownloadItem const* choice) {
    HVDownloadProgress waiting;
    waiting.phase = HVDownloadPhaseWaiting;
    if (auto const format = choice == nullptr ? nullptr : choice->GetCurrentDownloadFormat())
        waiting.total = format->Size();
    waiting.estimated = true;
    return waiting;
}

/// Takes a record of this task's run, or, with null, one of the controller's own. Tells it, unless one was
/// told a moment ago; the last one of a phase is told with the first one of the next.
void HVDownloadController::NoteProgress(HVDownloadProgress const& progress, IHVDownloadTask const* task) {
    std::vector<HVDownloadProgress> told;
    {
        std::lock_guard const lock(mutex_);
        if (task != nullptr && (task_.get() != task || runEnded_))
            return;
        bool const samePhase = progress_.phase == progress.phase;
        progress_ = progress;
        auto const now = Clock::now();
        if (samePhase && now - recordTold_ < std::chrono::milliseconds(recordPause_)) {
            untoldRecord_ = progress;
            return;
        }
        recordTold_ = now;
        if (!samePhase && untoldRecord_.has_value())
            told.push_back(*untoldRecord_);
        untoldRecord_.reset();
        told.push_back(progress);
    }
    if (!progressRecord_.Filled())
        return;
    for (HVDownloadProgress const& record : told)
        Report([this, record] {
            progressRecord_.With([&](auto const& function) { CallApplication(function, record); });
        });
}

} // namespace Halvorn

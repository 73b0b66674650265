#include "HVDownloadProgress.h"

#include "IHVDownloadControllers.h"

#include <algorithm>
#include <array>

namespace Halvorn {

char const* DownloadPhaseName(HVDownloadPhase phase) {
    constexpr std::array kNames{"none",  "waiting",  "waiting-to-retry", "asking",  "media",      "video",
                                "audio", "subtitle", "thumbnail",        "merging", "converting", "moving",
                                "done"};
    auto const index = static_cast<std::size_t>(phase);
    return index < kNames.size() ? kNames[index] : kNames[0];
}

namespace {

void CountRow(IHVDownloadController const& row, HVQueueProgress& sum) {
    switch (row.State()) {
    case HVDownloadStatePending:
        ++sum.waiting;
        break;
    case HVDownloadStateDownloading:
        ++sum.downloading;
        break;
    case HVDownloadStatePaused:
        ++sum.paused;
        break;
    case HVDownloadStateDone:
        ++(row.DownloadSucceed() ? sum.succeeded : sum.failed);
        break;
    case HVDownloadStateCancelled:
        ++sum.cancelled;
        break;
    default:
        ++sum.idle;
    }
}

} // namespace

HVQueueProgress IHVDownloadControllers::GetProgress() const {
    HVQueueProgress sum;
    int counted = 0;
    std::uint64_t left = 0;
    bool leftKnown = true;
    for (int i = 0; i < GetControllerCount(); ++i) {
        auto const row = GetController(i);
        if (row == nullptr)
            continue;
        CountRow(*row, sum);
        HVDownloadState const state = row->State();
        if (state == HVDownloadStateIdle || state == HVDownloadStateCancelled)
            continue;
        ++counted;
        HVDownloadProgress const progress = row->GetProgress();
        sum.fraction += state == HVDownloadStateDone ? 1 : progress.fraction;
        sum.bytes += progress.bytes;
        sum.total += std::max(progress.total, progress.bytes);
        sum.estimated = sum.estimated || progress.estimated || progress.total == 0;
        if (state != HVDownloadStateDownloading)
            continue;
        sum.bytesPerSecond += progress.bytesPerSecond;
        leftKnown = leftKnown && progress.total > 0;
        left += progress.total - std::min(progress.total, progress.bytes);
    }
    if (counted > 0)
        sum.fraction /= counted;
    if (leftKnown && sum.bytesPerSecond > 0)
        sum.secondsLeft = static_cast<double>(left) / sum.bytesPerSecond;
    return sum;
}

} // namespace Halvorn

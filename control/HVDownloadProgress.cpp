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

/// What a row has, and is to have, of those that count.
class Sum {
public:
    void Add(IHVDownloadController const& row) {
        CountRow(row, sum_);
        HVDownloadState const state = row.State();
        if (state == HVDownloadStateIdle || state == HVDownloadStateCancelled)
            return;
        ++counted_;
        HVDownloadProgress const progress = row.GetProgress();
        bool const done = state == HVDownloadStateDone;
        // What a failed row lacks does not come any more.
        std::uint64_t const total = done ? progress.bytes : std::max(progress.total, progress.bytes);
        sum_.fraction += done ? 1 : progress.fraction;
        sum_.bytes += progress.bytes;
        sum_.total += total;
        sum_.estimated = sum_.estimated || (!done && (progress.estimated || progress.total == 0));
        if (state != HVDownloadStateDownloading && state != HVDownloadStatePending)
            return;
        leftKnown_ = leftKnown_ && progress.total > 0;
        left_ += total - progress.bytes;
        if (state == HVDownloadStateDownloading)
            sum_.bytesPerSecond += progress.bytesPerSecond;
    }
    HVQueueProgress Result() {
        if (counted_ > 0)
            sum_.fraction /= counted_;
        if (leftKnown_ && sum_.bytesPerSecond > 0)
            sum_.secondsLeft = static_cast<double>(left_) / sum_.bytesPerSecond;
        return sum_;
    }

private:
    HVQueueProgress sum_;
    int counted_ = 0;
    std::uint64_t left_ = 0;
    bool leftKnown_ = true;
};

} // namespace

HVQueueProgress IHVDownloadControllers::GetProgress() const {
    Sum sum;
    for (int i = 0; i < GetControllerCount(); ++i)
        if (auto const row = GetController(i))
            sum.Add(*row);
    return sum.Result();
}

HVQueueProgress IHVDownloadControllers::GetProgress(std::vector<int> const& indices) const {
    Sum sum;
    for (int const i : indices)
        if (auto const row = GetController(i))
            sum.Add(*row);
    return sum.Result();
}

} // namespace Halvorn

#pragma once
// The pause between the starts of a queue's downloads. Thread-safe.

#include <algorithm>
#include <chrono>
#include <mutex>
#include <optional>

namespace Halvorn {

class HVStartPacer {
public:
    void SetPause(std::chrono::milliseconds pause) {
        std::lock_guard const lock(mutex_);
        pause_ = pause;
    }
    /// Seconds until the next start may be; 0, and the start is the caller's, when it may be now. Nothing is
    /// kept for a caller that has to wait, so one that gives up holds up no other.
    double Claim() {
        auto const now = std::chrono::steady_clock::now();
        std::lock_guard const lock(mutex_);
        std::chrono::duration<double> const left =
            last_ ? *last_ + pause_ - now : std::chrono::nanoseconds(0);
        if (left.count() <= 0)
            last_ = now;
        return std::max(0.0, left.count());
    }

private:
    std::mutex mutex_; // guards what follows
    std::chrono::milliseconds pause_{0};
    std::optional<std::chrono::steady_clock::time_point> last_;
};

} // namespace Halvorn

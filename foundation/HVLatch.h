#pragma once
// A flag that is raised once and can be waited for: the end of a thread, of a child, an event.

#include "HVConstants.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace Halvorn {

class HVLatch {
public:
    void Raise() {
        std::lock_guard const lock(mutex_);
        raised_ = true;
        // Under the lock, since a waiter may destroy the latch as soon as it sees the flag.
        changed_.notify_all();
    }
    bool Raised() const {
        std::lock_guard const lock(mutex_);
        return raised_;
    }
    /// HVErrSuccess when raised, HVErrTimeout when the time ran out before.
    int Wait(unsigned int milliseconds) const {
        std::unique_lock lock(mutex_);
        auto const raised = [this] { return raised_; };
        if (milliseconds == HVInfiniteTimeOut) {
            changed_.wait(lock, raised);
            return HVErrSuccess;
        }
        return changed_.wait_for(lock, std::chrono::milliseconds(milliseconds), raised) ? HVErrSuccess
                                                                                        : HVErrTimeout;
    }

private:
    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    bool raised_ = false;
};

} // namespace Halvorn

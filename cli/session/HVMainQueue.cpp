#include "HVMainQueue.h"

#include <utility>

namespace Halvorn {

void HVMainQueue::Post(Work work) {
    std::lock_guard const lock(mutex_);
    work_.push_back(std::move(work));
    changed_.notify_one();
}

void HVMainQueue::RunFor(std::chrono::milliseconds time) {
    std::deque<Work> ready;
    {
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, time, [this] { return !work_.empty(); });
        ready.swap(work_);
    }
    for (Work const& work : ready)
        work();
}

} // namespace Halvorn

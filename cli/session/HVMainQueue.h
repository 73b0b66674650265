#pragma once
// Where the library's threads hand their reports to the main thread, the only one that the command does its
// own work on: nothing else of the command needs a lock.
//
// Thread-safety: Post from any thread; RunFor on the main thread alone.

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

namespace Halvorn {

class HVMainQueue {
public:
    using Work = std::function<void()>;

    /// Has `work` run on the main thread, in the order of the calls.
    void Post(Work work);
    /// Waits at most so long until there is work, and runs all that is there.
    void RunFor(std::chrono::milliseconds time);

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Work> work_;
};

} // namespace Halvorn

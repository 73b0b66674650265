#pragma once
// The running children of the process: their start, and their end with the process. Thread-safe.

#include "HVChildProcess.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>

namespace Halvorn {

class HVChildRegistry {
public:
    /// From the request to end to the kill.
    static constexpr std::chrono::milliseconds kGrace{1500};
    /// From the kill to the end of the wait for zombies that nobody reaps.
    static constexpr std::chrono::milliseconds kAfterKill{1000};

    /// That of this process: a forked copy begins with an empty one.
    static HVChildRegistry& Shared();

    /// Starts the child. 0 and the child, or an error number.
    int Start(HVChildSetup setup, std::shared_ptr<HVChildProcess>& child);
    /// A child is gone.
    void Remove(int pid);
    /// Halts all children, and those that start from now on; or lets them go on.
    void SuspendAll(bool suspend);
    /// See IHVTask.
    std::chrono::steady_clock::time_point RunningTime();

private:
    HVChildRegistry() = default;
    void Adopt(std::shared_ptr<HVChildProcess> const& child);
    static void EndAll();
    static void LockForFork();
    static void UnlockAfterFork();
    static void ForgetInCopy();

    std::atomic<bool> ending_ = false; ///< the process is: no child starts any more
    std::mutex mutex_;                 // guards the children
    std::condition_variable changed_;
    std::map<int, std::shared_ptr<HVChildProcess>> children_;
    bool suspended_ = false; // this and what follows: guarded as well
    std::chrono::steady_clock::time_point suspendedAt_;
    std::chrono::steady_clock::duration suspendedFor_{0};
};

} // namespace Halvorn

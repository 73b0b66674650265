#pragma once
// One running child: the thread that drains its streams, learns of its end and insists on it when asked to.
//
// Thread-safe. Held by shared pointers; its thread keeps it alive until the child is gone.

#include "HVLatch.h"
#include "HVSpawn.h"
#include "HVSystemProcess.h"
#include "IHVTask.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Halvorn {

struct HVChildSetup {
    std::string exe;
    std::vector<std::string> args;
    std::string runtimePath;
    std::string pythonPath;
    IHVTask::Handler outputHandler;
    IHVTask::Handler errorHandler;
    bool endsWithLeader = false; ///< what the child leaves running is ended
};

class HVChildProcess : public std::enable_shared_from_this<HVChildProcess> {
public:
    /// Starts the child. 0 and the child, or an error number.
    static int Start(HVChildSetup setup, std::shared_ptr<HVChildProcess>& child);
    /// Ends all children and lets none start any more: the end of the process.
    static void EndAll();

    HVChildProcess(HVChildSetup setup, pid_t pid, HVDescriptor output, HVDescriptor error);

    int Wait(unsigned int milliseconds) const { return ended_.Wait(milliseconds); }
    void Terminate();
    void OnExit(std::function<void()> function);
    HVChildEnd End() const;
    std::shared_ptr<IHVError const> DeliveryError() const;

private:
    using Clock = std::chrono::steady_clock;
    struct Stream {
        HVDescriptor fd;
        IHVTask::Handler handler;
    };

    void Run();
    void Step(std::string& buffer);
    void Read(Stream& stream, std::string& buffer);
    void Deliver(Stream& stream, char const* bytes, std::size_t size);
    void CallHandler(Stream& stream, std::string chunk);
    void KeepFailure(char const* what);
    void LookAfterChild();
    void LookAfterGroup();
    void Insist();
    bool PipesOpen() const { return output_.fd.Valid() || error_.fd.Valid(); }
    bool Over();
    int PollTimeout() const;
    void Finish();
    void CallExitFunctions();
    void SignalGroup(int signal);

    HVChildSetup setup_;
    pid_t const pid_;
    Stream output_;
    Stream error_;
    HVExitNotifier notifier_;

    // Written by the child's thread alone.
    bool childGone_ = false;
    bool killed_ = false;
    Clock::time_point insistAt_ = Clock::time_point::max();

    std::atomic<bool> terminating_ = false;
    mutable std::mutex
        mutex_; // guards what follows; a signal is sent under it, so that none reaches a group gone by
    bool groupGone_ = false;
    HVChildEnd end_;
    bool exited_ = false; // functions for the exit are called at once
    std::vector<std::function<void()>> onExit_;
    std::shared_ptr<IHVError const> deliveryError_;
    HVLatch ended_;
};

} // namespace Halvorn

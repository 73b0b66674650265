#pragma once
// One running child: the thread that drains its streams, learns of its end and insists on it when asked to.
//
// The order of an end. The child has ended: its status is there, but it is not reaped, so that its number,
// which is the group's, goes to no other process. Its group is gone, or nobody of it holds the pipes. The
// guardian forgets the group. From here on no signal is sent, and the child is reaped. The functions for the
// exit run, and WaitExit reports the end.
//
// On the delivery thread nothing may throw: there is nobody to catch it, and the application would end.
//
// Thread-safe. Held by shared pointers; its thread keeps it alive until the child is gone.

#include "HVChildLeader.h"
#include "HVLatch.h"
#include "HVSystemProcess.h"
#include "IHVTask.h"

#include <atomic>
#include <chrono>
#include <exception>
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
    bool endsWithLeader = false;     ///< what the child leaves running is ended
    HVChildSource* source = nullptr; ///< where it comes from; it is spawned unless one is given
    int input = -1;                  ///< its standard input; the null device unless one is given
};

class HVChildProcess : public std::enable_shared_from_this<HVChildProcess> {
public:
    /// A child that has not started: HVChildRegistry starts it.
    explicit HVChildProcess(HVChildSetup setup);

    int Wait(unsigned int milliseconds) const { return ended_.Wait(milliseconds); }
    void Terminate();
    void Interrupt();
    void Suspend(bool suspend);
    void OnExit(std::function<void()> function);
    HVChildEnd End() const;
    std::shared_ptr<IHVError const> DeliveryError() const;

private:
    friend class HVChildRegistry;
    using Clock = std::chrono::steady_clock;
    struct Stream {
        HVDescriptor fd;
        IHVTask::Handler handler;
    };

    int Spawn();
    void BeginDelivery();
    void Abandon();
    void CloseInCopy() const;

    void Run();
    void Step();
    void Read(Stream& stream);
    void Deliver(Stream& stream, char const* bytes, std::size_t size);
    void CallHandler(Stream& stream, char const* begin, char const* end);
    void KeepFailure();
    void LookAfterChild();
    void LookAfterGroup();
    void Insist();
    bool ChildEnded() const { return leaderState_ != HVChildLeader::State::Running; }
    bool PipesOpen() const { return output_.fd.Valid() || error_.fd.Valid(); }
    bool Over() const;
    int PollTimeout() const;
    void Finish();
    void Reap();
    void CallExitFunctions();
    void SignalGroup(int signal);

    HVChildSetup setup_;
    int pid_ = -1; ///< the group's number as well
    std::unique_ptr<HVChildLeader> leader_;
    Stream output_;
    Stream error_;
    HVExitNotifier notifier_;
    std::string buffer_; ///< for reads

    // Of the delivery thread alone, once it runs.
    bool endIsTold_ = false; ///< the notifier tells the child's end
    HVChildLeader::State leaderState_ = HVChildLeader::State::Running;
    bool groupGone_ = false; ///< nobody of the group is alive
    bool killed_ = false;
    Clock::time_point insistAt_ = Clock::time_point::max();
    Clock::time_point groupLookAt_; ///< when the group is looked at next
    Clock::duration groupWait_{};

    std::atomic<bool> terminating_ = false;
    // Guards what follows. A signal is sent under it, and the child reaped: a signal never reaches another
    // group that has got the number.
    mutable std::mutex mutex_;
    bool finished_ = false; ///< no signal any more
    bool touched_ = false;  ///< a signal was sent
    HVChildEnd end_;
    bool exited_ = false; ///< functions for the exit are called at once
    std::vector<std::function<void()>> onExit_;
    std::exception_ptr deliveryFailure_;
    HVLatch ended_;
};

} // namespace Halvorn

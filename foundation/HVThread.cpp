#include "HVLatch.h"
#include "IHVLogConfig.h"
#include "IHVThread.h"

#include <atomic>
#include <exception>
#include <system_error>
#include <thread>
#include <utility>

namespace Halvorn {

namespace {

void RunGuarded(std::function<void()> const& function) {
    try {
        function();
    } catch (std::exception const& error) {
        IHVLogConfig::Printf(IHVLogConfig::LogLevelError, "A worker thread ended by an exception: %s",
                             error.what());
    } catch (...) {
        IHVLogConfig::Printf(IHVLogConfig::LogLevelError, "A worker thread ended by an exception");
    }
}

class HVThread final : public IHVThread {
public:
    explicit HVThread(std::function<void()> function) : function_(std::move(function)) {}

    std::shared_ptr<IHVError const> Start() override {
        if (started_.exchange(true))
            return IHVError::MallocError("HVThread", __LINE__, "Start", -1, "Error",
                                         "The thread was started.");
        try {
            // What the function captured is released before the end is known, so that a thread that waits
            // for the end finds nothing of it alive.
            std::thread([ended = ended_, function = std::exchange(function_, nullptr)]() mutable {
                RunGuarded(function);
                function = nullptr;
                ended->Raise();
            }).detach();
        } catch (std::system_error const& error) {
            ended_->Raise();
            IHVLogConfig::Printf(IHVLogConfig::LogLevelError, "Can't start a thread: %s", error.what());
            return IHVError::MallocError("HVThread", __LINE__, "Start", -1, "Error",
                                         "Can't start a thread: %s", error.what());
        }
        return IHVError::MallocSucceed("HVThread", __LINE__, "Start");
    }

    int WaitEnd(unsigned int milliseconds) override {
        return started_ ? ended_->Wait(milliseconds) : HVErrFailure;
    }

    bool HasEnded() const override { return ended_->Raised(); }

private:
    std::function<void()> function_;
    std::atomic<bool> started_ = false;
    std::shared_ptr<HVLatch> ended_ = std::make_shared<HVLatch>();
};

} // namespace

std::shared_ptr<IHVThread> IHVThread::MallocThread(std::function<void()> function) {
    return std::make_shared<HVThread>(std::move(function));
}

void IHVThread::Sleep(unsigned int milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

} // namespace Halvorn

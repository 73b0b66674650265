#pragma once
// One function on one new thread. The function keeps what it needs alive by itself: the object may go while
// it runs. Thread-safety: any operation from any thread.

#include "IHVError.h"

#include <functional>
#include <memory>

namespace Halvorn {

class IHVThread {
public:
    /// The thread does not run yet.
    static std::shared_ptr<IHVThread> MallocThread(std::function<void()> function);
    /// Pauses the calling thread.
    static void Sleep(unsigned int milliseconds);

    /// Runs the function on a new thread, once; a second call fails. An exception out of the function is
    /// logged.
    virtual std::shared_ptr<IHVError const> Start() = 0;
    /// Blocks for at most so many milliseconds: HVErrSuccess when the function has returned, HVErrTimeout
    /// while it runs, HVErrFailure when it was never started.
    virtual int WaitEnd(unsigned int milliseconds) = 0;
    /// True when the function has returned.
    virtual bool HasEnded() const = 0;

protected:
    ~IHVThread() = default;
};

} // namespace Halvorn

#pragma once
// The user's wish to end (Ctrl-C, a request to terminate, a closed terminal) as a call of a function.
//
// One object at a time. A write to a closed pipe fails from then on, instead of ending the process. Signals
// are caught, not blocked or ignored, so that child processes are born with the usual ones; and they stay
// caught after the object is gone, so that an impatient user doesn't break the library's own clearing up at
// the end of the process.

#include <functional>
#include <thread>

namespace Halvorn {

class HVInterrupt {
public:
    /// `function` is called on a thread of this object's own, once for each signal.
    explicit HVInterrupt(std::function<void()> function);
    /// Waits for a call under way. Later signals do nothing.
    ~HVInterrupt();
    HVInterrupt(HVInterrupt const&) = delete;
    HVInterrupt& operator=(HVInterrupt const&) = delete;

private:
    void Watch() const;

    std::function<void()> function_;
    std::thread watcher_;
};

} // namespace Halvorn

#pragma once
// What the user says by signals: to end (Ctrl-C, a request to terminate, a closed terminal) and to stop for a
// while (Ctrl-Z), as calls of functions.
//
// One object at a time. A write to a closed pipe fails from then on, instead of ending the process. Signals
// are caught, not blocked or ignored, so that child processes are born with the usual ones. Those that ask
// for the end stay caught after the object is gone, so that an impatient user doesn't break the library's own
// clearing up at the end of the process.

#include <functional>
#include <thread>

namespace Halvorn {

class HVInterrupt {
public:
    /// All are called on a thread of this object's own.
    struct Functions {
        std::function<void()> interrupted; ///< once for each signal that asks for the end
        std::function<void()> suspending;  ///< before the process stops
        std::function<void()> resumed;     ///< when it goes on
    };

    explicit HVInterrupt(Functions functions);
    /// Waits for a call under way. Ctrl-Z then works as usual, other signals do nothing.
    ~HVInterrupt();
    HVInterrupt(HVInterrupt const&) = delete;
    HVInterrupt& operator=(HVInterrupt const&) = delete;

private:
    void Watch() const;
    void Suspend() const;

    Functions functions_;
    std::thread watcher_;
};

} // namespace Halvorn

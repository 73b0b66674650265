#pragma once
// A child process: started in a group of its own, both its streams drained at once, ended with its whole
// group.
//
// Thread-safety: set handlers and the runtime path before Launch, on one thread; WaitExit, Terminate and
// OnExit may then be called from any thread. Handlers run on a thread of the task's own, one at a time, and
// never after WaitExit has reported the end. Ownership: shared pointers. A running child needs no owner: it
// is drained and reaped even when the last pointer is gone.

#include "IHVData.h"
#include "IHVError.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Halvorn {

class HVChildSource;

/// What a child came to.
struct HVChildEnd {
    bool known = false; ///< false while it runs, and where other code of the process has taken the status
    int status = 0;     ///< exit status, where `signal` is 0
    int signal = 0;     ///< the signal that ended it; 0 for none
    bool later = false; ///< it ran in a process that had served another run before
};

class IHVTask {
public:
    using Handler = std::function<void(std::shared_ptr<IHVData const>)>;

    /// A task that has not started.
    static std::shared_ptr<IHVTask> MallocTask();
    /// Starts the program at once with no handlers; empty when it could not be started.
    static std::shared_ptr<IHVTask> LaunchTask(std::string const& exe, std::vector<std::string> const& args);
    /// Halts all running children with their groups, and each that starts from now on; or lets them go on.
    static void SuspendAll(bool suspend);
    /// A clock that stands still while all children are halted: for limits of their time.
    static std::chrono::steady_clock::time_point RunningTime();

    /// Starts the child. `args` does not hold the program's name. The flag asks that the child have a group
    /// of its own; it has one in any case. Fails, with words for a user, for an empty name, a missing file, a
    /// file that can't be executed, and for a task that was started before and still runs. The command line
    /// goes to the log at level 0, its secrets masked.
    virtual std::shared_ptr<IHVError const> Launch(std::string const& exe,
                                                   std::vector<std::string> const& args, bool flag) = 0;
    /// Gets each chunk of standard output, in order, as soon as it is read, cut in front of each carriage
    /// return. An exception out of a handler ends the child and stands in DeliveryError afterwards.
    virtual void SetOutputHandler(Handler handler) = 0;
    /// The same for standard error.
    virtual void SetErrorHandler(Handler handler) = 0;
    /// Path of the JS runtime; its folder leads the child's PATH. May be empty.
    virtual void SetRuntimePath(std::string const& path) = 0;
    /// Folder that leads the child's PYTHONPATH. May be empty.
    virtual void SetPythonPath(std::string const& folder) = 0;
    /// Blocks for at most so many milliseconds. HVErrTimeout while the child runs; HVErrSuccess once it has
    /// ended and all output has gone through the handlers; HVErrFailure when there was no start.
    virtual int WaitExit(unsigned int milliseconds) = 0;
    /// Asks the child's whole group to end and returns at once; what has not ended after a short grace is
    /// killed.
    virtual void Terminate() = 0;

    /// Has what the child leaves running in its group ended when the child has ended. Set before Launch.
    virtual void SetEndsWithLeader(bool ends) = 0;
    /// Calls `function` once when the child is gone: at once, on this thread, when it is already.
    virtual void OnExit(std::function<void()> function) = 0;
    /// What the child came to, once WaitExit has reported the end.
    virtual HVChildEnd ChildEnd() const = 0;
    /// What a handler threw, as an error object; empty when none did. Complete once WaitExit has reported the
    /// end.
    virtual std::shared_ptr<IHVError const> DeliveryError() const = 0;
    /// Where the child comes from, unless it is spawned; it has to outlive the child. Set before Launch.
    virtual void SetSource(HVChildSource* source) = 0;
    /// Interrupts the child's whole group, as a terminal does at Ctrl-C, and returns at once. What the child
    /// makes of it, and when it ends, is its own affair.
    virtual void Interrupt() = 0;

protected:
    ~IHVTask() = default;
};

} // namespace Halvorn

#pragma once
// One running child behind a run of the tool. The runner knows no more of it than this, whichever way it was
// started.
//
// Thread-safe. A child that runs needs no owner: it is drained and its end is seen to even when the last
// pointer is gone.

#include "IHVError.h"
#include "IHVTask.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Halvorn {

class HVChildSource;

class IHVToolChild {
public:
    /// HVErrTimeout while the child runs after so many milliseconds; HVErrSuccess once it has ended and all
    /// of its output has gone through the handlers.
    virtual int WaitExit(unsigned int milliseconds) = 0;
    /// Asks the child and all that it has started to end, and returns at once; what has not ended after a
    /// short grace is killed.
    virtual void Terminate() = 0;
    /// Interrupts the child and all that it has started, as Ctrl-C at a terminal does, and returns at once.
    virtual void Interrupt() = 0;
    /// Calls `function` once when the child is gone: at once, on this thread, when it is already.
    virtual void OnExit(std::function<void()> function) = 0;
    /// Exit status or signal, once WaitExit has told the end.
    virtual HVChildEnd End() const = 0;
    /// What a handler threw, as an error object; empty when none did.
    virtual std::shared_ptr<IHVError const> DeliveryError() const = 0;

protected:
    ~IHVToolChild() = default;
};

/// What a child is started with. Handlers get each chunk of a stream in order, on a thread of the child's
/// own.
struct HVToolLaunch {
    using Handler = std::function<void(std::string const&)>;

    std::string exe;
    std::vector<std::string> args;
    std::string jsRuntimePath;   ///< may be empty
    std::string extensionFolder; ///< what the tool loads from us; may be empty
    bool endsWithLeader = false; ///< what the program leaves running is ended when it has ended itself
    bool alwaysAnew = false;     ///< the program is started even where the tool is kept warm
    std::shared_ptr<HVChildSource> source; ///< where the child comes from; may be empty
    Handler outputHandler;
    Handler errorHandler;
};

/// Starts the program: a run of the tool out of the warm one where that is possible, else a new process. A
/// success and the child, or the error.
std::shared_ptr<IHVError const> StartToolProcess(HVToolLaunch const& launch,
                                                 std::shared_ptr<IHVToolChild>& child);

} // namespace Halvorn

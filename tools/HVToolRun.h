#pragma once
// One run of the tool: the only way in which the library runs it, and what comes with it (ffmpeg, python).
//
// Set a run up and call Run, both on one thread; a run serves once. Another thread ends it through its stop.
// Handlers are called on the child's delivery thread, one at a time, and after a stop that is not waited for
// also once Run has returned: what they use must live as long.

#include "HVExplainedError.h"
#include "IHVToolChild.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Halvorn {

class HVChildSource;
class HVTotalRate;
class HVToolStop;
class IHVDownloadOptions;
class IHVJsonValue;

/// What a run may use up; 0 means as much as it likes.
struct HVToolLimits {
    unsigned int time = 0;    ///< milliseconds from its start
    unsigned int silence = 0; ///< milliseconds without output
    std::size_t output = 0;   ///< bytes that it prints, to both streams together
};

/// What a run came to.
struct HVToolResult {
    /// Who ended it: the tool itself, the stop, one of the limits, the watch, or a handler that threw.
    enum class By { Tool, Stop, TimeLimit, SilenceLimit, OutputLimit, Watch, Handler };

    std::shared_ptr<IHVError const> startError;   ///< why it did not start; empty when it did
    std::shared_ptr<IHVError const> handlerError; ///< what a handler threw; empty when none did
    By endedBy = By::Tool;
    HVChildEnd end;     ///< exit status or signal; not known for a run that was left after its stop
    std::string output; ///< what it printed to standard output, where no handler takes that
    std::string errors; ///< what it printed to standard error
    HVFault fault;      ///< what it failed by, where it has failed; other where only the words may tell

    /// A signal ended it which was not ours: another program's, the system's, or of a crash.
    bool Died() const { return endedBy == By::Tool && end.known && end.signal != 0; }
    /// It died in a process that had served other runs, which may be the reason: a run of its own may go
    /// well.
    bool LostInLane() const { return Died() && end.later; }
    /// Whether the tool ended by itself with status 0.
    bool Succeeded() const { return endedBy == By::Tool && end.known && end.signal == 0 && end.status == 0; }
};

class HVToolRun {
public:
    /// `exe` is the path of the copy to run; `args` does not hold the program's name.
    HVToolRun(std::string exe, std::vector<std::string> args);

    /// The JS runtime's folder leads the run's PATH. May be empty.
    void SetJSRuntimePath(std::string const& path) { launch_.jsRuntimePath = path; }
    /// Has the run load our extension (HVRunExtension.h). May be null.
    void SetOptions(IHVDownloadOptions const* options);
    /// Has the run share this rate with others. Behind SetOptions. May be null.
    void SetTotalRate(HVTotalRate* rate);
    /// Gets standard output instead of the result. What it throws ends the run.
    void SetOutputHandler(HVToolLaunch::Handler handler) { launch_.outputHandler = std::move(handler); }
    /// Sees each chunk of standard error, and says what of it is kept for the result.
    void SetErrorFilter(std::function<std::string(std::string const&)> filter) {
        errorFilter_ = std::move(filter);
    }
    /// Gets the records of our extension as they come, but for the errors, which go into the result.
    void SetReportHandler(std::function<void(IHVJsonValue const&)> handler) { reports_ = std::move(handler); }
    /// A run that oversteps one is ended with all that it has started.
    void SetLimits(HVToolLimits const& limits) { limits_ = limits; }
    /// Asked about ten times a second, on the thread of Run; the run is ended when it says false.
    void SetWatch(std::function<bool()> mayGoOn) { watch_ = std::move(mayGoOn); }
    /// Ends the run at once when it is requested. A request that came before Run counts at the first poll.
    void SetStop(HVToolStop* stop) { stop_ = stop; }
    /// Interrupts the run, once, when it is requested: the tool then completes what it records, and ends in
    /// its own time.
    void SetInterrupt(HVToolStop* interrupt) { interrupt_ = interrupt; }
    /// After a stop Run returns within half a second, whether or not the child has ended by then.
    void LeaveAfterStop() { leaveAfterStop_ = true; }
    /// Has the program started anew, also where the tool is kept warm: to know that it runs, or to change it.
    void StartAnew() { launch_.alwaysAnew = true; }
    /// Has it run beside others of the same settings (HVToolLanes.h). May be empty.
    void SetLanes(std::shared_ptr<HVChildSource> lanes) { launch_.source = std::move(lanes); }
    /// What the program leaves running is ended with it and not waited for.
    void EndWithLeader() { launch_.endsWithLeader = true; }

    /// Runs the tool. Blocks until it has ended.
    HVToolResult Run();
    /// Calls `function` once when the child is gone, also when there was none: at once, or on its delivery
    /// thread.
    void OnExit(std::function<void()> function);

private:
    struct State;

    unsigned int WaitStep() const;
    bool StopWanted() const;
    bool EndedByLimit();
    int WaitForEnd();

    HVToolLaunch launch_;
    HVToolLimits limits_;
    std::function<bool()> watch_;
    std::function<void(IHVJsonValue const&)> reports_;
    HVToolStop* stop_ = nullptr;
    HVToolStop* interrupt_ = nullptr;
    std::function<std::string(std::string const&)> errorFilter_;
    bool leaveAfterStop_ = false;
    std::shared_ptr<IHVToolChild> child_;
    std::shared_ptr<State> const state_; ///< shared with the handlers
};

} // namespace Halvorn

#pragma once
// One run of the command: its console, its main thread's queue, and how a run ends early.

#include "HVConsole.h"
#include "HVInterrupt.h"
#include "HVMainQueue.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Halvorn {

class HVSession {
public:
    explicit HVSession(bool quiet);
    ~HVSession();
    HVSession(HVSession const&) = delete;
    HVSession& operator=(HVSession const&) = delete;

    HVConsole& Console() { return console_; }
    /// Shared with the library's threads, which may outlive the run.
    std::shared_ptr<HVMainQueue> const& Queue() const { return queue_; }
    /// True once the user asked for an end, or results can't be written any more.
    bool Ending() const { return interrupted_ || console_.OutputFailed(); }
    /// `finish` is asked at each request for an end: while it says yes, what runs is completed first.
    void FinishFirst(std::function<bool()> finish) { finish_ = std::move(finish); }

    struct Steps {
        std::function<bool()> done; ///< whether all is over
        std::function<void()> tick; ///< called several times a second
        std::function<void()> stop; ///< asks everything to end
    };
    /// Runs the queue until all is done. On an early end calls `stop` once, and waits a while for all to be
    /// done; without a `stop` it doesn't wait. Returns HVExitDone, or the status of the early end.
    int Run(Steps const& steps);

    /// Runs `work` on a thread of its own while the main thread shows `activity` and minds the user. Returns
    /// as Run; after an early end `work` may still run, so it shares what it uses.
    int RunAside(std::string const& activity, std::function<void()> work);
    /// The words of a failure, completed by what the library has logged as its hard faults meanwhile: one
    /// failure is told in one line. (Where REELHAUL_LOG asks for the log, that has its own lines.)
    std::string WithLoggedErrors(std::string text);
    /// `status`, or that of a fault of the output, which is told here.
    int FinalStatus(int status);

private:
    void ShowLog();
    int EarlyStatus();
    void Interrupted();

    HVConsole console_;
    std::shared_ptr<HVMainQueue> queue_ = std::make_shared<HVMainQueue>();
    bool interrupted_ = false;
    std::function<bool()> finish_;
    std::vector<std::string> loggedErrors_;
    HVInterrupt interrupt_;
};

} // namespace Halvorn

#pragma once
/// \class Halvorn::IHVCallbackDispatcher
/// Brings the library's reports to a thread of the application's own, such as the one with the main loop.
///
/// Without a dispatcher a report comes on the thread that causes it, mostly one of the library's. With one,
/// every report is a piece of work that the library hands to the dispatcher and does not wait for: the
/// operations of a task's delegate, the functions of controllers, `done` of an update, the callback of
/// IHVDownloadCookies::GenerateCookiesFile2. Lines of the log are no reports: their handler is called on the
/// thread that logs, so that a line is there before a crash.
///
/// Thread-safety: every operation may be called from any thread.

#include "HVExport.h"

#include <functional>

namespace Halvorn {

class HV_EXPORT IHVCallbackDispatcher {
public:
    /// Gets work that is to be run once, on whichever thread the application wants, in the order in which it
    /// came. Called on any thread, on several at once; it is to hand the work over and return at once. Work
    /// that is dropped is a report that is lost. When the dispatcher throws, the work runs on the calling
    /// thread.
    using Dispatcher = std::function<void(std::function<void()> work)>;

    /// Sets the dispatcher of this process; an empty one undoes that. Set it before the first task or
    /// controller starts. When it returns, the former dispatcher is not called any more, but work that was
    /// handed to it may still wait to be run.
    ///
    /// A report finds the delegate or the function that is set when it runs, not when it was handed over:
    /// once IHVDownloadTask::SetDelegate or a setter of a controller has replaced it on the dispatcher's own
    /// thread, it is called no more. What a task reports keeps the task alive, not its delegate; what a
    /// controller reports keeps nothing alive and is dropped with the controller.
    static void SetDispatcher(Dispatcher dispatcher);
};

} // namespace Halvorn

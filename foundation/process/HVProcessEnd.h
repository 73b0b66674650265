#pragma once
// What the library has to do at a normal end of the process, in a fixed order, and in a forked copy of it.
// Thread-safe.

#include <mutex>

namespace Halvorn {

/// Children are ended before the files that they write to are removed.
enum class HVEndStage { Children = 0, Files = 1 };

/// Has `function` called at the end of the process, after the application's own exit handlers. One function a
/// stage. A copy of the process made by fork() does not call it: its end is not the application's.
void SetProcessEndFunction(HVEndStage stage, void (*function)());

/// Who takes part in a fork, in the order in which their locks nest: the outermost is taken first.
enum class HVForkPlace { WarmTool, Children, ForkLanes, TmpFolder, ApplicationCalls };

/// What a forked copy of the process lets go of: it has the memory and the descriptors of its parent, but
/// none of its threads. Each function runs on the thread that forks, and must do no more than a signal
/// handler may (no allocation, no log); null for none.
struct HVForkFunctions {
    void (*before)(); ///< takes the lock under which the copy is to find its data
    void (*parent)(); ///< lets go of it in the parent
    void (*copy)();   ///< the same in the copy; forgets what is not the copy's, closes its descriptors
};
/// Once for each place. Not under a lock that a fork takes.
void SetForkFunctions(HVForkPlace place, HVForkFunctions const& functions);

/// Has each fork take a mutex under which no other one is taken, so that the copy finds it free, and what it
/// guards whole. For mutexes that live as long as the process, once for each; at most sixteen. Not under a
/// lock that a fork takes.
void AddForkMutex(std::mutex& mutex);

/// Differs in a copy of the process.
int ProcessNumber();

} // namespace Halvorn

#pragma once
// What the library has to do at a normal end of the process, in a fixed order, and in a forked copy of it.
// Thread-safe.

namespace Halvorn {

/// Children are ended before the files that they write to are removed.
enum class HVEndStage { Children = 0, Files = 1 };

/// Has `function` called at the end of the process, after the application's own exit handlers. One function a
/// stage. A copy of the process made by fork() does not call it: its end is not the application's.
void SetProcessEndFunction(HVEndStage stage, void (*function)());

/// What a forked copy of the process lets go of: it has the memory and the descriptors of its parent, but
/// none of its threads. Each function runs on the thread that forks, and must do no more than a signal
/// handler may (no allocation, no log); null for none. At most eight in a process.
struct HVForkFunctions {
    void (*before)(); ///< takes the locks under which the copy is to find its data, last registered first
    void (*parent)(); ///< lets go of them in the parent
    void (*copy)();   ///< the same in the copy; forgets what is not the copy's, closes its descriptors
};
void AddForkFunctions(HVForkFunctions const& functions);

} // namespace Halvorn

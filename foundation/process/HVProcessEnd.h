#pragma once
// What the library has to do at a normal end of the process, in a fixed order. Thread-safe.

namespace Halvorn {

/// Children are ended before the files that they write to are removed.
enum class HVEndStage { Children = 0, Files = 1 };

/// Has `function` called at the end of the process, after the application's own exit handlers. One function a
/// stage.
void SetProcessEndFunction(HVEndStage stage, void (*function)());

} // namespace Halvorn

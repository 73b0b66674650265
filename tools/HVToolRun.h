#pragma once
// One run of a tool to its end, with what it printed.

#include "IHVTask.h"

#include <string>
#include <vector>

namespace Halvorn {

struct HVToolRun {
    std::string output;
    std::string errors;
    std::string failure; ///< why it did not start
};

/// Blocks until the tool has ended. Sets the task's handlers.
HVToolRun RunTool(IHVTask& task, std::string const& exe, std::vector<std::string> const& args);
/// The same with a task of its own, which ends a tool that prints nothing for so many milliseconds.
HVToolRun RunTool(std::string const& exe, std::vector<std::string> const& args, unsigned int silence);
/// What the tool answers to "--version", line end included; empty when it does not run or hangs.
std::string ToolVersion(std::string const& exe);

} // namespace Halvorn

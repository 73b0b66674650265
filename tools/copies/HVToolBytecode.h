#pragma once
// The single-file form of the tool is a "#!" line that names python, followed by a zip of sources. With their
// bytecode beside them it starts two to three times faster.

#include <string>

namespace Halvorn {

/// Adds what is missing of the bytecode to a tool of that form; any other file is left alone, and so is the
/// tool when something fails. `replaced` is the file whose place the tool is going to take, or is the tool
/// itself: what runs from there still finds its sources afterwards. Blocks for seconds, on the file's own
/// interpreter, which is ended when it prints nothing for `silence` milliseconds. False when the tool is as
/// it was.
bool AddToolBytecode(std::string const& tool, std::string const& replaced, unsigned int silence = 60'000);

} // namespace Halvorn

#pragma once
// The last look at a run's arguments.

#include <string>
#include <vector>

namespace Halvorn {

/// The arguments without what the tool refuses although the records may hold it: a retry count that was never
/// set, a netrc file beside the command that takes its place, the blanks around the hyphen of a provider's
/// id.
std::vector<std::string> ToolArguments(std::vector<std::string> args);

} // namespace Halvorn

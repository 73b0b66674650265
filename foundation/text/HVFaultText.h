#pragma once
// What is read of a failure's words. Pure; any thread.

#include "HVExplainedError.h"

#include <string_view>
#include <vector>

namespace Halvorn {

/// The lines of `text`, without blanks around them; empty ones are left out.
std::vector<std::string_view> TextLines(std::string_view text);
/// What a server's status tells; other for one that tells nothing.
HVFault FaultOfStatus(int status);

} // namespace Halvorn

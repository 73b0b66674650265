#pragma once
// Failures whose message is fixed, such as the tool's output as it stands, while the reason is known better.

#include "IHVError.h"

namespace Halvorn {

/// An error object of code -1 and title "Error" whose plain message is another text than its message.
std::shared_ptr<IHVError const> ExplainedError(std::string const& file, int line, std::string const& function,
                                               std::string const& message, std::string const& plainMessage);

} // namespace Halvorn

#pragma once
// Failures of a run of the tool, in the tool's own words where it has any. Pure; any thread.

#include "IHVError.h"

#include <memory>
#include <string>

namespace Halvorn {

/// A failure with the tool's own words, or `otherwise` when it said nothing.
std::shared_ptr<IHVError const> ToolFailure(int line, char const* function, std::string const& errorText,
                                            char const* otherwise);
/// The same failure of code -1, with what the run raised for it.
std::shared_ptr<IHVError const> WithToolsFault(std::shared_ptr<IHVError const> const& failure,
                                               std::string const& errorText);

/// What an answer that is neither an item nor a list means: in the message the tool's words behind `front`,
/// in the plain message the reader's where the tool names no fault itself. `unreadable` is what the reader
/// said; may be empty.
std::shared_ptr<IHVError const> AnswerFailure(int line, char const* function, std::string const& front,
                                              std::string const& errorText,
                                              std::shared_ptr<IHVError const> const& unreadable);

} // namespace Halvorn

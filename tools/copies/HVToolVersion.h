#pragma once
// What a program answers to the question for its version. Thread-safe.

#include <string>

namespace Halvorn {

/// How long a version is waited for, in milliseconds: some programs unpack themselves at each start.
inline constexpr unsigned int kVersionTime = 60'000;

/// What the tool answers to "--version", line end included; empty when it does not run, takes longer than
/// `time` milliseconds, or prints more than 64 KiB. Blocks.
std::string ToolVersion(std::string const& exe, unsigned int time = kVersionTime);

} // namespace Halvorn

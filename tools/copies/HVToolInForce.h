#pragma once
// Which files the choice between the built-in and the local copy comes to, for each place that starts one.
// Thread-safe.

#include <string>

namespace Halvorn {

/// Path of the tool that is in force. Empty when the local copy is and no folder for it is set.
std::string ToolInForce();

/// Path of the ffmpeg beside it. Empty in the same case.
std::string MergerInForce();

} // namespace Halvorn

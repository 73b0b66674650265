#pragma once
// Which copies of the tools serve this run, and whether they are there.

#include <string>

namespace Halvorn {

struct HVRequest;

/// Folder of the user's own copies: what --tool names, else REELHAUL_TOOL_DIR, else "reelhaul/tools" in the
/// place that the user has for data. Empty when the user has no such place.
std::string LocalToolFolder(HVRequest const& request);

/// Tells the library that folder, and puts the local copies in force when --tool asks for them, or when the
/// stored choice is for them and the folder holds the tool; else the built-in ones. True for the local ones.
bool ChooseCopies(HVRequest const& request);

/// Chooses the copies and completes the request's JS runtime. Returns a fault that names the tool's path and
/// what to do; empty when it is there.
std::string SetUpTools(HVRequest& request);

/// Keeps the tool in memory for the runs to come, unless the user forbids it.
void WarmTool(HVRequest const& request);

/// The same as SetUpTools for ffmpeg, which only merged formats need.
std::string FfmpegFault(HVRequest const& request);

/// Why the file at `path` can't be run; empty when it can.
std::string ProgramFault(std::string const& path);

} // namespace Halvorn

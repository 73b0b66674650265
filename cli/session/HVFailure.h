#pragma once
// Why an analysis or a download failed, as one line for the user.

#include <Reelhaul/IHVDownloadTask.h>
#include <Reelhaul/IHVError.h>

#include <cstddef>
#include <string>

namespace Halvorn {

struct HVRequest;

/// The tool's words, put in order; and what else may be the cause.
std::string FailureText(IHVError const& error, HVRequest const& request);
/// What stands in front of the failure of a playlist's entry: its number and address.
std::string EntryName(IHVDownloadTask::FailedEntry const& entry);
/// What stands below the failures of a playlist's entries; empty where they speak for themselves.
std::string FailedEntriesText(std::size_t failed, int count);

} // namespace Halvorn

#pragma once
// Why an analysis or a download failed, as one line for the user.

#include "HVJsonText.h"

#include <Reelhaul/IHVDownloadTask.h>
#include <Reelhaul/IHVError.h>

#include <cstddef>
#include <string>
#include <vector>

namespace Halvorn {

struct HVListedAddress;
struct HVRequest;

/// What has failed, for a person and for a program.
struct HVFailure {
    std::string message;
    HVErrorKind kind = HVErrorKindOther;
    bool retry = false; ///< trying again can help
    int delay = 0;      ///< seconds that the site asks to wait

    /// The message, and what can be done about it.
    std::string Line() const;
    /// The fields of the event "failed" that tell it.
    std::vector<HVJsonField> Fields() const;
};

/// The tool's words, put in order; and what else may be the cause.
HVFailure FailureOf(IHVError const& error, HVRequest const& request);
/// What stands in front of the failure of an address: itself, behind its place in a list.
std::string NameOf(HVListedAddress const& address);
/// What stands in front of the failure of a playlist's entry: its number and address.
std::string EntryName(IHVDownloadTask::FailedEntry const& entry);
/// What stands below the failures of a playlist's entries; empty where they speak for themselves.
std::string FailedEntriesText(std::size_t failed, int count);

} // namespace Halvorn

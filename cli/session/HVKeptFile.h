#pragma once
// The file of the kept queue, as the command opens and closes it. For the main thread alone.

#include <Reelhaul/IHVKeptQueue.h>

#include <memory>
#include <string>

namespace Halvorn {

struct HVRequest;
class HVSession;

/// What is said after an interrupt.
inline constexpr char kGoesOn[] =
    "The queue keeps what is not finished; \"reelhaul queue start\" goes on with it, and \"reelhaul queue "
    "remove ROW\" discards it.";

/// What --queue names, else the user's own; empty where there is no home folder.
std::string KeptQueueFile(HVRequest const& request);
/// Empty on a failure, which is told.
std::shared_ptr<IHVKeptQueue> OpenKeptQueue(HVSession& session, HVRequest const& request);
/// Tells of what could not be stored. Returns `status`, or that of the failure.
int CloseKeptQueue(HVSession& session, HVRequest const& request, IHVKeptQueue& queue, int status);
/// Tells a failure of the queue itself, of no row of it.
void TellQueueFailure(HVSession& session, HVRequest const& request, IHVError const& error);

} // namespace Halvorn

#pragma once
// "reelhaul queue": the queue that outlives a call of the command.

namespace Halvorn {

struct HVRequest;
class HVSession;

///@{
/// Each returns the exit status.
int RunQueueAdd(HVSession& session, HVRequest& request);
int RunQueueList(HVSession& session, HVRequest& request);
int RunQueueStart(HVSession& session, HVRequest& request);
int RunQueuePause(HVSession& session, HVRequest& request);
int RunQueueRemove(HVSession& session, HVRequest& request);
int RunQueueClear(HVSession& session, HVRequest& request);
///@}

} // namespace Halvorn

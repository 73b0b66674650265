#pragma once
// "reelhaul info": what an address holds.

namespace Halvorn {

struct HVRequest;
class HVSession;

/// Returns the exit status.
int RunInfo(HVSession& session, HVRequest& request);

} // namespace Halvorn

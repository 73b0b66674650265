#pragma once
// "reelhaul tools": the copies of the tools, their update, and which of them serve.

namespace Halvorn {

struct HVRequest;
class HVSession;

// All return the exit status.
int RunTools(HVSession& session, HVRequest& request);
int RunToolsUpdate(HVSession& session, HVRequest& request);
int RunToolsUse(HVSession& session, HVRequest& request);

} // namespace Halvorn

#pragma once
// "reelhaul get": addresses become files.

namespace Halvorn {

struct HVRequest;
class HVSession;

/// Returns the exit status.
int RunGet(HVSession& session, HVRequest& request);

} // namespace Halvorn

#pragma once
// "reelhaul providers": the TV providers, one a line, id and name.

namespace Halvorn {

struct HVRequest;
class HVSession;

/// Returns the exit status: HVExitFailed when none matches the search.
int RunProviders(HVSession& session, HVRequest& request);

} // namespace Halvorn

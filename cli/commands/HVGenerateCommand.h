#pragma once
// "reelhaul generate": the manual page and the completions, for the build.

namespace Halvorn {

struct HVRequest;
class HVSession;

/// Returns the exit status.
int RunGenerate(HVSession& session, HVRequest& request);

} // namespace Halvorn

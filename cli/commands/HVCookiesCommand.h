#pragma once
// "reelhaul cookies": a cookies file from a browser.

namespace Halvorn {

struct HVRequest;
class HVSession;

/// Returns the exit status.
int RunCookies(HVSession& session, HVRequest& request);

} // namespace Halvorn

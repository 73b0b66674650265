#pragma once
// The table of options as a document: docs/options.md is what this prints.

namespace Halvorn {

struct HVRequest;
class HVSession;

/// Returns the exit status.
int RunOptionTable(HVSession& session, HVRequest& request);

} // namespace Halvorn

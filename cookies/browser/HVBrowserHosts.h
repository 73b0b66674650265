#pragma once
// The host programs that run now: one for each profile of a browser that has the extension. Thread-safe.

#include "HVDownloadBrowser.h"
#include "HVHostMessage.h"
#include "HVLocalSocket.h"

#include <memory>
#include <string>
#include <vector>

namespace Halvorn {

struct HVBrowserHost {
    HVDownloadBrowser browser = HVDownloadBrowserUnknown;
    HVHostMessage hello; ///< the profile, and whether it may be asked
    std::shared_ptr<HVLocalConnection> connection;
};

/// Connects to those that answer, the one that was started last first. Each has two seconds to say what it
/// is; most take none. `fault` says why none can be looked for, if that is so.
std::vector<HVBrowserHost> ConnectToBrowserHosts(std::string& fault);

} // namespace Halvorn

#pragma once
/// \file
/// What a running browser is asked for: see IHVDownloadCookies::AskRunningBrowser.

#include "HVDownloadBrowser.h"

#include <string>
#include <vector>

namespace Halvorn {

/// A plain value.
struct HVBrowserQuestion {
    HVDownloadBrowser browser = HVDownloadBrowserUnknown; ///< the browser; Unknown is refused
    std::string profile; ///< name of one of its profiles; empty for the one that was started last
    /// The cookies of these addresses' sites are asked for; of all sites where there is none.
    std::vector<std::string> addresses;
    /// Where the cookies file goes; empty for the process's private temporary folder, which goes at the end
    /// of the process.
    std::string folder;
    /// How long to wait for the answer: the user may have to be asked first.
    long long timeoutSeconds = 120;
};

} // namespace Halvorn

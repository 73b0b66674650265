#pragma once
// How a browser learns of the host program: a small file in a folder of the browser's that names it.
// Thread-safe.

#include "HVDownloadBrowser.h"

#include <string>
#include <vector>

namespace Halvorn {

/// Where a browser of this user keeps what is asked for here.
struct HVBrowserFolder {
    HVDownloadBrowser browser;
    std::string profiles;           ///< is there where the browser has ever run
    std::vector<std::string> hosts; ///< of the files that name host programs; it may look into several
};

/// Of the browsers that this system has; nothing without a home folder.
std::vector<HVBrowserFolder> BrowserFolders();
/// Whether a file names a host program that is there.
bool HostIsInstalled(HVDownloadBrowser browser);
/// The host program beside the library.
std::string HostPathFile();
/// The extension as a folder, beside the library.
std::string ExtensionFolder();

} // namespace Halvorn

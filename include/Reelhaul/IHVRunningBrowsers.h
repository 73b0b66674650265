#pragma once
/// \class Halvorn::IHVRunningBrowsers
/// Sets browsers up to be asked for cookies while they run (IHVDownloadCookies::AskRunningBrowser), and tells
/// how it is with them.
///
/// A browser can be asked once it has Reelhaul's extension and knows the host program that stands beside the
/// library. InstallHost sees to the second; the extension its user adds, from ExtensionFolder.
///
/// Thread-safety: every operation may be called from any thread. They read and write small files; GetStatus
/// also asks the browsers that run, which takes milliseconds, and two seconds for one that hangs.

#include "HVDownloadBrowser.h"
#include "HVExport.h"
#include "IHVError.h"

#include <memory>
#include <string>
#include <vector>

namespace Halvorn {

class HV_EXPORT IHVRunningBrowsers {
public:
    /// How it is with one browser.
    struct Status {
        HVDownloadBrowser browser = HVDownloadBrowserUnknown; ///< which
        bool hasRun = false;                                  ///< this user has profiles of it
        bool hostInstalled = false;                           ///< it knows the host program
        std::vector<std::string> profiles; ///< that run with the extension, and may be asked by their names
        bool ready = false;                ///< one of them can be asked
        std::string text;                  ///< all this in words for a user, and what to do next
    };

    /// Tells a browser of the host program, for this user alone; HVDownloadBrowserUnknown stands for all that
    /// have run. Fails where there is none, the host program is not beside the library, or a file can't be
    /// written; the message says which.
    static std::shared_ptr<IHVError const> InstallHost(HVDownloadBrowser browser);
    /// Takes it back; HVDownloadBrowserUnknown stands for all. A browser that was not told is no failure.
    static std::shared_ptr<IHVError const> UninstallHost(HVDownloadBrowser browser);
    /// How it is with each browser that can have the extension.
    static std::vector<Status> GetStatus();
    /// The extension as a folder that a browser can load; packages of it stand beside it.
    static std::string ExtensionFolder();

    IHVRunningBrowsers() = delete;
};

} // namespace Halvorn

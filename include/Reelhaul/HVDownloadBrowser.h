#pragma once
/// \file
/// The browsers whose cookies the tool can read. Their names: IHVBrowserState.

#include <cstdint>

namespace Halvorn {

/// The numbers are kept: applications store them.
enum HVDownloadBrowser : std::int32_t {
    HVDownloadBrowserChrome = 0,
    HVDownloadBrowserChromium = 1,
    HVDownloadBrowserFirefox = 2,
    HVDownloadBrowserEdge = 3,
    HVDownloadBrowserSafari = 4,
    HVDownloadBrowserBrave = 5,
    HVDownloadBrowserOpera = 6,
    HVDownloadBrowserVivaldi = 7,
    HVDownloadBrowserUnknown = 8, ///< no browser
    HVDownloadBrowserWhale = 9,

    /// The one browser that is tried when none was named.
    HVDownloadBrowserProbed = HVDownloadBrowserFirefox
};

} // namespace Halvorn

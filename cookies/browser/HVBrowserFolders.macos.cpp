#include "HVHostRegistration.h"

#include <cstdlib>
#include <utility>

namespace Halvorn {

std::vector<HVBrowserFolder> BrowserFolders() {
    char const* const home = std::getenv("HOME");
    if (home == nullptr || *home != '/')
        return {};
    std::string const support = std::string(home) + "/Library/Application Support";
    std::vector<HVBrowserFolder> folders;
    for (auto const& [browser, folder] : {std::pair{HVDownloadBrowserChromium, "/Chromium"},
                                          {HVDownloadBrowserChrome, "/Google/Chrome"},
                                          {HVDownloadBrowserEdge, "/Microsoft Edge"},
                                          {HVDownloadBrowserBrave, "/BraveSoftware/Brave-Browser"},
                                          {HVDownloadBrowserVivaldi, "/Vivaldi"},
                                          {HVDownloadBrowserOpera, "/com.operasoftware.Opera"}})
        folders.push_back({browser, support + folder, {support + folder + "/NativeMessagingHosts"}});
    folders.push_back(
        {HVDownloadBrowserFirefox, support + "/Firefox", {support + "/Mozilla/NativeMessagingHosts"}});
    return folders;
}

} // namespace Halvorn

#include "HVHostRegistration.h"

#include <cstdlib>
#include <filesystem>

namespace Halvorn {

std::vector<HVBrowserFolder> BrowserFolders() {
    char const* const home = std::getenv("HOME");
    if (home == nullptr || *home != '/')
        return {};
    char const* const named = std::getenv("XDG_CONFIG_HOME");
    std::string const config = named != nullptr && *named == '/' ? named : std::string(home) + "/.config";
    std::vector<HVBrowserFolder> folders;
    for (auto const& [browser, folder] : {std::pair{HVDownloadBrowserChromium, "/chromium"},
                                          {HVDownloadBrowserChrome, "/google-chrome"},
                                          {HVDownloadBrowserEdge, "/microsoft-edge"},
                                          {HVDownloadBrowserBrave, "/BraveSoftware/Brave-Browser"},
                                          {HVDownloadBrowserVivaldi, "/vivaldi"},
                                          {HVDownloadBrowserOpera, "/opera"}})
        folders.push_back({browser, config + folder, {config + folder + "/NativeMessagingHosts"}});
    // Newer releases have moved their profiles, and may come to look for host programs there as well.
    std::string const older = std::string(home) + "/.mozilla";
    std::string const newer = config + "/mozilla";
    std::error_code fault;
    bool const moved = std::filesystem::exists(newer + "/firefox", fault);
    folders.push_back({HVDownloadBrowserFirefox,
                       (moved ? newer : older) + "/firefox",
                       {older + "/native-messaging-hosts", newer + "/native-messaging-hosts"}});
    return folders;
}

} // namespace Halvorn

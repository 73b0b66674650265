#include "HVBrowserState.h"

#include "IHVCookieStock.h"

namespace Halvorn {

namespace {

struct BrowserNames {
    HVDownloadBrowser browser;
    char const* name;
    char const* param;
};

constexpr BrowserNames Names[] = {{HVDownloadBrowserChrome, "Google Chrome", "chrome"},
                                  {HVDownloadBrowserChromium, "Chromium", "chromium"},
                                  {HVDownloadBrowserFirefox, "Mozilla Firefox", "firefox"},
                                  {HVDownloadBrowserEdge, "Microsoft Edge", "edge"},
                                  {HVDownloadBrowserSafari, "Safari", "safari"},
                                  {HVDownloadBrowserBrave, "Brave", "brave"},
                                  {HVDownloadBrowserOpera, "Opera", "opera"},
                                  {HVDownloadBrowserVivaldi, "Vivaldi", "vivaldi"},
                                  {HVDownloadBrowserWhale, "Naver Whale", "whale"}};

constexpr BrowserNames NoBrowser = {HVDownloadBrowserUnknown, "Unknown", "unknown"};

BrowserNames const& NamesOf(HVDownloadBrowser browser) {
    for (auto const& names : Names) {
        if (names.browser == browser)
            return names;
    }
    return NoBrowser;
}

} // namespace

HVDownloadBrowser BrowserOfWord(std::string const& word) {
    for (auto const& names : Names)
        if (word == names.param)
            return names.browser;
    return HVDownloadBrowserUnknown;
}

std::string IHVBrowserState::BrowserName(HVDownloadBrowser browser) {
    return NamesOf(browser).name;
}

std::string IHVBrowserState::BrowserParamName(HVDownloadBrowser browser) {
    return NamesOf(browser).param;
}

bool IHVBrowserState::BrowserWasStarted(HVDownloadBrowser browser) {
    return IHVCookieStock::SharedCookieStock()->BrowserWasStarted(browser);
}

std::string IHVBrowserState::GetStateText() const {
    if (auto const* const own = dynamic_cast<HVBrowserState const*>(this))
        return own->text;
    if (!IsReachable())
        return "The browser can't be asked for cookies.";
    if (IsRequestBlocked())
        return "The browser takes no request for cookies.";
    if (!IsResponding())
        return "The browser has stopped answering.";
    return HasCookieData() ? "The browser has given cookies." : "The browser has not answered yet.";
}

} // namespace Halvorn

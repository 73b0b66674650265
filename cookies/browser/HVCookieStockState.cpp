#include "HVCookieStockState.h"

#include "HVHostRegistration.h"

#include <chrono>
#include <utility>

namespace Halvorn {

namespace {

std::string NameOf(HVDownloadBrowser browser) {
    return IHVBrowserState::BrowserName(browser);
}

HVBrowserState Blocked(std::string text) {
    HVBrowserState state = AnsweringState(std::move(text));
    state.blocked = true;
    return state;
}

} // namespace

long long CookieClock() {
    auto const now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

HVBrowserState AnsweringState(std::string text) {
    HVBrowserState state;
    state.time = CookieClock();
    state.responding = state.reachable = true;
    state.text = std::move(text);
    return state;
}

HVBrowserState AbsentState(HVDownloadBrowser browser, std::string const& fault) {
    HVBrowserState state;
    state.time = CookieClock();
    state.text = !fault.empty() ? fault
                 : HostIsInstalled(browser)
                     ? NameOf(browser) +
                           " isn't running, or Reelhaul's extension isn't in it. Start it, or add the "
                           "extension from \"" +
                           ExtensionFolder() + "\"."
                     : NameOf(browser) + " isn't set up to be asked. Run \"reelhaul cookies --install-host " +
                           IHVBrowserState::BrowserParamName(browser) + "\", then add the extension from \"" +
                           ExtensionFolder() + "\".";
    return state;
}

HVBrowserState GreetedState(HVBrowserHost const& host) {
    std::string const name = NameOf(host.browser);
    if (!host.hello.on)
        return Blocked("The extension is turned off in " + name + ". Turn it on in its popup.");
    if (!host.hello.permission)
        return Blocked("The extension may not read sites' cookies in " + name + ". Allow it in its popup.");
    return AnsweringState(name + " can be asked for cookies (" + host.hello.profile + ").");
}

HVBrowserState RefusedState(HVDownloadBrowser browser, HVHostMessage const& message) {
    std::string const name = NameOf(browser);
    HVBrowserState state = Blocked(
        message.reason == "user"  ? "You said no in " + name + "."
        : message.reason == "off" ? "The extension is turned off in " + name + ". Turn it on in its popup."
        : message.reason == "permission" ? "The extension may not read this site's cookies in " + name +
                                               ". Allow it in the browser's settings of the extension."
                                         : name + " can't give cookies: " + message.text);
    state.responding = false; // to this request no answer will come
    return state;
}

} // namespace Halvorn

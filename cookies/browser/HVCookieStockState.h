#pragma once
// The states of browsers that the library's own stock tells, with their words for a user.

#include "HVBrowserHosts.h"
#include "HVBrowserState.h"

namespace Halvorn {

/// The clock of messages and states: milliseconds since 1970.
long long CookieClock();
/// The browser can be asked, or has been.
HVBrowserState AnsweringState(std::string text);
/// No host program of the browser's runs; `fault` says why none could be looked for, if that is so.
HVBrowserState AbsentState(HVDownloadBrowser browser, std::string const& fault);
/// What the extension says of itself.
HVBrowserState GreetedState(HVBrowserHost const& host);
/// The extension has refused a request.
HVBrowserState RefusedState(HVDownloadBrowser browser, HVHostMessage const& message);

} // namespace Halvorn

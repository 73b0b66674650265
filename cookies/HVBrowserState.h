#pragma once
// The state of a browser as the library's own stock knows it.

#include "IHVBrowserState.h"

#include <string>

namespace Halvorn {

/// The browser that the tool knows by this word; HVDownloadBrowserUnknown for none.
HVDownloadBrowser BrowserOfWord(std::string const& word);

struct HVBrowserState final : IHVBrowserState {
    bool HasCookieData() const override { return hasData; }
    long long GetStateTime() const override { return time; }
    bool IsResponding() const override { return responding; }
    bool IsRequestBlocked() const override { return blocked; }
    bool IsReachable() const override { return reachable; }

    bool hasData = false;
    long long time = 0; ///< milliseconds since 1970
    bool responding = false;
    bool blocked = false;
    bool reachable = false;
    std::string text; ///< for the user: what is, and what to do next
};

} // namespace Halvorn

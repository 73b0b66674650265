#pragma once
/// \class Halvorn::IHVBrowserState
/// What is known of a browser at one moment, and the names of browsers.
///
/// Thread-safety: a state never changes; any operation may be called from any thread. Ownership: held by
/// shared pointers, as `shared_ptr<IHVBrowserState const>`.

#include "HVDownloadBrowser.h"
#include "HVExport.h"

#include <string>

namespace Halvorn {

class HV_EXPORT IHVBrowserState {
public:
    /// Name to show to the user, "Unknown" for no browser.
    static std::string BrowserName(HVDownloadBrowser browser);
    /// The tool's word for the browser, always a legal start of a file name. No browser has the word
    /// "unknown", which the tool refuses with a message that lists the ones it knows.
    static std::string BrowserParamName(HVDownloadBrowser browser);
    /// Whether that browser has run.
    static bool BrowserWasStarted(HVDownloadBrowser browser);

    /// Whether cookie data came with this state.
    virtual bool HasCookieData() const = 0;
    /// When this state was taken, in milliseconds since 1970.
    virtual long long GetStateTime() const = 0;
    /// False when no answer of this browser can be waited for.
    virtual bool IsResponding() const = 0;
    /// True when the browser takes no request.
    virtual bool IsRequestBlocked() const = 0;
    /// False when the browser can't be asked at all.
    virtual bool IsReachable() const = 0;

    /// The state in words for a person, and what to do next where something stands in the way.
    std::string GetStateText() const;

protected:
    ~IHVBrowserState() = default;
};

} // namespace Halvorn

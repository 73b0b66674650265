#pragma once
// Where the cookies of a running browser come from.
//
// Thread-safety: any operation from any thread. Ownership: shared pointers.

#include "HVDownloadBrowser.h"
#include "IHVError.h"

#include <memory>
#include <string>

namespace Halvorn {

class IHVBrowserState;
class IHVCookieMessage;

class IHVCookieStock {
public:
    /// The one stock of the process. Unless another was put in its place it knows no browser: none is
    /// reachable, none was started.
    static std::shared_ptr<IHVCookieStock> SharedCookieStock();
    /// Puts a source of cookies in its place; an empty pointer puts back the one that knows no browser.
    /// Workers that have taken the former one end with it.
    static void SetSharedCookieStock(std::shared_ptr<IHVCookieStock> stock);

    /// Sends a request to the browser and returns at once; the answer shows as a state with data.
    virtual std::shared_ptr<IHVError const>
    SendCookieMessage(std::shared_ptr<IHVCookieMessage const> message) = 0;
    /// The latest known state of that browser, never empty.
    virtual std::shared_ptr<IHVBrowserState const> GetBrowserState(HVDownloadBrowser browser) = 0;
    /// The cookie data last delivered, in base64.
    virtual std::string GetCookieData() = 0;
    /// Whether that browser has run.
    virtual bool BrowserWasStarted(HVDownloadBrowser browser) = 0;

protected:
    ~IHVCookieStock() = default;
};

} // namespace Halvorn

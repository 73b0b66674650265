#pragma once
/// \class Halvorn::IHVCookieStock
/// Where the cookies of a running browser come from. An application that has a source of its own, such as a
/// browser view of its own, derives from this interface and puts an object of it in the stock's place.
///
/// Thread-safety: any operation from any thread, several at once. Ownership: shared pointers.

#include "HVDownloadBrowser.h"
#include "HVExport.h"
#include "IHVError.h"

#include <memory>
#include <string>

namespace Halvorn {

class IHVBrowserState;
class IHVCookieMessage;

class HV_EXPORT IHVCookieStock {
public:
    /// The one stock of the process.
    static std::shared_ptr<IHVCookieStock> SharedCookieStock();
    /// Puts a source of cookies in its place; an empty pointer puts back the library's own. Workers that have
    /// taken the former one end with it.
    static void SetSharedCookieStock(std::shared_ptr<IHVCookieStock> stock);

    /// Sends a request to the browser and returns at once; the answer shows as a state with data.
    virtual std::shared_ptr<IHVError const>
    SendCookieMessage(std::shared_ptr<IHVCookieMessage const> message) = 0;
    /// The latest known state of that browser, never empty. It is asked for twice a second while a request
    /// is under way.
    virtual std::shared_ptr<IHVBrowserState const> GetBrowserState(HVDownloadBrowser browser) = 0;
    /// The cookie data last delivered: the bytes of a cookies file as the tool reads it (Netscape's format),
    /// in base64.
    virtual std::string GetCookieData() = 0;
    /// Whether that browser has run.
    virtual bool BrowserWasStarted(HVDownloadBrowser browser) = 0;

protected:
    ~IHVCookieStock() = default;
};

/// What a stock offers that keeps requests apart: one that derives from this interface as well is asked here
/// while a request is under way, so that several at once don't take each other's answers.
///
/// Thread-safety: any operation from any thread, several at once.
class HV_EXPORT IHVCookieRequests {
public:
    /// How it is with this request, never empty; a state with data once it is answered.
    virtual std::shared_ptr<IHVBrowserState const>
    GetRequestState(std::shared_ptr<IHVCookieMessage const> const& message) = 0;
    /// The data that answered this request, as in IHVCookieStock::GetCookieData; handed out once.
    virtual std::string TakeCookieData(std::shared_ptr<IHVCookieMessage const> const& message) = 0;
    /// Nobody waits for the answer to this request any more.
    virtual void EndRequest(std::shared_ptr<IHVCookieMessage const> const& message) = 0;

protected:
    ~IHVCookieRequests() = default;
};

} // namespace Halvorn

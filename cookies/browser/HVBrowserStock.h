#pragma once
// The library's own stock: the browsers that have the extension, by way of their host programs.
//
// Each request has a connection and a worker thread of its own, so that nothing of two requests can mix. The
// worker ends with the connection: at an answer, at EndRequest, or when the browser ends.

#include "HVBrowserHosts.h"
#include "HVBrowserState.h"
#include "IHVCookieMessage.h"
#include "IHVCookieStock.h"

#include <list>
#include <mutex>
#include <set>

namespace Halvorn {

class HVBrowserStock final : public IHVCookieStock,
                             public IHVCookieRequests,
                             public std::enable_shared_from_this<HVBrowserStock> {
public:
    std::shared_ptr<IHVError const>
    SendCookieMessage(std::shared_ptr<IHVCookieMessage const> message) override;
    std::shared_ptr<IHVBrowserState const> GetBrowserState(HVDownloadBrowser browser) override;
    std::string GetCookieData() override;
    bool BrowserWasStarted(HVDownloadBrowser browser) override;
    std::shared_ptr<IHVBrowserState const>
    GetRequestState(std::shared_ptr<IHVCookieMessage const> const& message) override;
    std::string TakeCookieData(std::shared_ptr<IHVCookieMessage const> const& message) override;
    void EndRequest(std::shared_ptr<IHVCookieMessage const> const& message) override;

private:
    struct Request {
        std::shared_ptr<IHVCookieMessage const> message;
        std::shared_ptr<HVBrowserState const> state;
        std::string data;
        std::shared_ptr<HVLocalConnection> connection;
        bool ended = false;
    };
    using RequestPointer = std::shared_ptr<Request>;

    void Work(RequestPointer const& request);
    /// What the extension says to the request. False when that was the last.
    bool Heard(RequestPointer const& request, std::string const& text);
    void SetState(RequestPointer const& request, HVBrowserState state, std::string data = {});
    RequestPointer Find(std::shared_ptr<IHVCookieMessage const> const& message) const;
    std::vector<HVBrowserHost> Hosts(std::string& fault);
    std::shared_ptr<HVBrowserState const> Look(HVDownloadBrowser browser);

    mutable std::mutex mutex_;           // guards all below
    std::list<RequestPointer> requests_; // the latest first
    std::set<HVDownloadBrowser> seen_;
    std::string lastData_;
};

} // namespace Halvorn

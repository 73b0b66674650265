#pragma once
// The implementation of IHVDownloadCookies.

#include "IHVDownloadCookies.h"

#include <functional>
#include <mutex>

namespace Halvorn {

class HVLatch;
class IHVCookieMessage;
class IHVCookieStock;
class IHVThread;

class HVDownloadCookies final : public IHVDownloadCookies,
                                public std::enable_shared_from_this<HVDownloadCookies> {
public:
    HVDownloadCookies(std::string path, HVDownloadBrowser browser);

    std::string GetCookiesPathFile() const override;
    std::shared_ptr<IHVDownloadCookies> Clone() const override;
    void SetCookiesFromBrowser(HVDownloadBrowser browser) override;
    HVDownloadBrowser GetCookiesFromBrowser() const override;
    std::shared_ptr<IHVError const> GenerateCookiesFile(std::string const& path,
                                                        HVDownloadBrowser browser) override;
    std::shared_ptr<IHVError const> GenerateCookiesFile2(std::string const& path, Callback callback,
                                                         HVDownloadBrowser browser,
                                                         long long timeout) override;
    std::string CookiesPluginInstallerURL(HVDownloadBrowser browser) override;

    std::shared_ptr<IHVError const> StartAsking(HVBrowserQuestion const& question, AnswerFunc answer);
    void EndAsking();
    void KeepBrowserStore(BrowserStore store);
    BrowserStore KeptBrowserStore() const;

private:
    /// What the callback is told.
    struct Answer {
        std::string path;
        std::shared_ptr<IHVBrowserState const> state;
    };

    /// Starts a worker with this function unless one runs; `taken` then happens under the lock.
    std::shared_ptr<IHVError const> StartWorker(char const* operation, std::function<void()> work,
                                                std::function<void()> const& taken);
    /// The worker's function.
    void Work(HVDownloadBrowser browser, std::string const& folder, long long timeout);
    Callback TakeCallback();
    static void AskBrowser(HVDownloadBrowser browser, std::string const& folder, long long timeout,
                           Answer& answer);
    /// Looks at the browser's state each half second until it answers the request, stops responding, or
    /// `timeout` seconds of sleep are over.
    static void ListeningGetHandle(IHVCookieStock& stock, HVDownloadBrowser browser,
                                   std::string const& folder, long long timeout,
                                   std::shared_ptr<IHVCookieMessage const> const& message, Answer& answer);
    static std::string CreateCookiePath(std::string const& folder, HVDownloadBrowser browser, long long time);
    static bool SaveStringToFile(std::string const& data, std::string const& path);

    mutable std::mutex mutex_; // guards the fields, never held while others' code runs
    std::string cookiesPathFile_;
    HVDownloadBrowser cookiesFromBrowser_;
    BrowserStore browserStore_;
    std::shared_ptr<IHVThread> worker_;
    Callback callback_;
    std::shared_ptr<HVLatch> stopAsking_; ///< of the last AskRunningBrowser
};

} // namespace Halvorn

#include "HVDownLoadCookies.h"

#include "HVAtomicFile.h"
#include "HVCallback.h"
#include "HVFileReservation.h"
#include "HVPrivateFile.h"
#include "HVToolInForce.h"
#include "HVToolRun.h"
#include "IHVBase64Codec.h"
#include "IHVCookieMessage.h"
#include "IHVCookieStock.h"
#include "IHVFileProvider.h"
#include "IHVLogConfig.h"
#include "IHVThread.h"

#include <algorithm>
#include <cerrno>
#include <exception>
#include <limits>
#include <utility>

namespace Halvorn {

namespace {

/// The tool reads the file before it writes it, and refuses one without this line.
constexpr std::string_view kEmptyCookiesFile = "# Netscape HTTP Cookie File\n";
constexpr unsigned int PollMilliseconds = 500;
/// How long the tool is given to read a browser's cookies, in milliseconds: the desktop may ask the user for
/// the password of its key ring meanwhile.
constexpr unsigned int kBrowserTime = 600'000;

std::shared_ptr<IHVError const> Failure(int line, char const* text) {
    return IHVError::MallocError("HVDownLoadCookies", line, "GenerateCookiesFile", -1, "Error", text);
}

/// As the tool takes it: BROWSER[+KEYRING][:PROFILE][::CONTAINER].
std::string BrowserArgument(HVDownloadBrowser browser, IHVDownloadCookies::BrowserStore const& store) {
    std::string argument = IHVBrowserState::BrowserParamName(browser);
    if (!store.keyring.empty())
        argument += "+" + store.keyring;
    if (!store.profile.empty())
        argument += ":" + store.profile;
    if (!store.container.empty())
        argument += "::" + store.container;
    return argument;
}

/// In milliseconds; as much as the type holds where that is less.
long long PollLimit(long long seconds) {
    return std::clamp(seconds, 0LL, std::numeric_limits<long long>::max() / 1000 - 1) * 1000;
}

} // namespace

HVDownloadCookies::HVDownloadCookies(std::string path, HVDownloadBrowser browser)
    : cookiesPathFile_(std::move(path)), cookiesFromBrowser_(browser) {}

std::string HVDownloadCookies::GetCookiesPathFile() const {
    std::lock_guard const lock(mutex_);
    return cookiesPathFile_;
}

std::shared_ptr<IHVDownloadCookies> HVDownloadCookies::Clone() const {
    std::lock_guard const lock(mutex_);
    auto clone = std::make_shared<HVDownloadCookies>(cookiesPathFile_, cookiesFromBrowser_);
    clone->browserStore_ = browserStore_;
    return clone;
}

void HVDownloadCookies::SetCookiesFromBrowser(HVDownloadBrowser browser) {
    std::lock_guard const lock(mutex_);
    cookiesFromBrowser_ = browser;
}

HVDownloadBrowser HVDownloadCookies::GetCookiesFromBrowser() const {
    std::lock_guard const lock(mutex_);
    return cookiesFromBrowser_;
}

std::shared_ptr<IHVError const> HVDownloadCookies::GenerateCookiesFile(std::string const& path,
                                                                       HVDownloadBrowser browser) {
    if (path.empty())
        return Failure(__LINE__, "cookies path is not set.");
    if (browser == HVDownloadBrowserUnknown)
        return Failure(__LINE__, "Browser is unknown.");
    auto const file =
        IHVFileProvider::CreateUniquePathFile(IHVFileProvider::CreateRandomFileName("", 10), "txt", path);
    // Where it can't be made, the tool says why.
    HVPrivateFile made(file);
    if (made.Make(kEmptyCookiesFile) == EEXIST) // a link, put there since the name was chosen
        return Failure(__LINE__, "failed to creater cookies file. The name is taken.");
    {
        std::lock_guard const lock(mutex_);
        cookiesPathFile_ = file;
    }
    auto const browserArgument = BrowserArgument(browser, KeptBrowserStore());
    HVToolRun run(ToolInForce(), {"--cookies-from-browser", browserArgument, "--cookies", file});
    run.SetLimits({kBrowserTime, 0, 0});
    auto const result = run.Run();
    ReleaseFileReservation(file);
    if (result.startError != nullptr)
        return Failure(__LINE__, "failed to get cookies.");
    std::string const& errorText = result.errors;
    // The tool complains about the missing address even when it has written the file: the file decides.
    if (!errorText.empty())
        IHVLogConfig::Printf("ERROR: %s.", errorText.c_str());
    if (made.Written())
        return IHVError::MallocSucceed("HVDownLoadCookies", __LINE__, "GenerateCookiesFile");
    return Failure(__LINE__, ("failed to creater cookies file. " + errorText).c_str());
}

std::shared_ptr<IHVError const> HVDownloadCookies::StartWorker(char const* operation,
                                                               std::function<void()> work,
                                                               std::function<void()> const& taken) {
    auto const busy = [operation](int line) {
        return IHVError::MallocError("HVDownLoadCookies", line, operation, HVErrorCodeIO, "IO Error",
                                     "IO error, try again later");
    };
    auto worker = IHVThread::MallocThread(std::move(work));
    {
        std::lock_guard const lock(mutex_);
        if (worker_ && !worker_->HasEnded())
            return busy(__LINE__);
        taken();
        worker_ = worker;
    }
    // In the field before its start: from here on a second call is refused.
    if (worker->Start()->Succeed())
        return IHVError::MallocSucceed("HVDownLoadCookies", __LINE__, operation);
    return busy(__LINE__);
}

std::shared_ptr<IHVError const> HVDownloadCookies::GenerateCookiesFile2(std::string const& path,
                                                                        Callback callback,
                                                                        HVDownloadBrowser browser,
                                                                        long long timeout) {
    // The thread holds the record, so that an owner may drop it while the worker runs.
    bool taken = false;
    auto result = StartWorker(
        "GenerateCookiesFile2",
        [self = shared_from_this(), browser, path, timeout] { self->Work(browser, path, timeout); },
        [&] {
            std::swap(callback_, callback);
            taken = true;
        });
    if (taken && !result->Succeed())
        TakeCallback();
    return result;
}

void HVDownloadCookies::Work(HVDownloadBrowser browser, std::string const& folder, long long timeout) {
    Answer answer;
    try {
        AskBrowser(browser, folder, timeout, answer);
    } catch (std::exception const& error) {
        answer.path.clear();
        IHVLogConfig::Printf(IHVLogConfig::LogLevelError, "Can't get a browser's cookies: %s", error.what());
    } catch (...) {
        answer.path.clear();
        IHVLogConfig::Printf(IHVLogConfig::LogLevelError, "Can't get a browser's cookies");
    }
    ReportTo(TakeCallback(), answer.path, answer.state);
}

// It is called once, and what it holds does not live as long as the record.
HVDownloadCookies::Callback HVDownloadCookies::TakeCallback() {
    std::lock_guard const lock(mutex_);
    return std::exchange(callback_, nullptr);
}

void HVDownloadCookies::AskBrowser(HVDownloadBrowser browser, std::string const& folder, long long timeout,
                                   Answer& answer) {
    auto const stock = IHVCookieStock::SharedCookieStock();
    if (browser == HVDownloadBrowserUnknown && IHVBrowserState::BrowserWasStarted(HVDownloadBrowserProbed))
        browser = HVDownloadBrowserProbed;
    if (browser == HVDownloadBrowserUnknown)
        return;
    answer.state = stock->GetBrowserState(browser);
    if (!answer.state->IsReachable() || answer.state->IsRequestBlocked())
        return;
    std::shared_ptr<IHVCookieMessage const> const message = IHVCookieMessage::MallocCookieMessage(0, browser);
    stock->SendCookieMessage(message);
    ListeningGetHandle(*stock, browser, folder, timeout, message, answer);
    if (auto* const requests = dynamic_cast<IHVCookieRequests*>(stock.get()))
        requests->EndRequest(message);
}

void HVDownloadCookies::ListeningGetHandle(IHVCookieStock& stock, HVDownloadBrowser browser,
                                           std::string const& folder, long long timeout,
                                           std::shared_ptr<IHVCookieMessage const> const& message,
                                           Answer& answer) {
    auto const limit = PollLimit(timeout);
    auto* const requests = dynamic_cast<IHVCookieRequests*>(&stock);
    for (long long elapsed = 0;; elapsed += PollMilliseconds) {
        answer.state =
            requests != nullptr ? requests->GetRequestState(message) : stock.GetBrowserState(browser);
        if (!answer.state->IsResponding())
            return;
        // A state older than the request is no answer to it, whatever data there are.
        auto const time = answer.state->GetStateTime();
        if (time >= message->GetMessageTime() && answer.state->HasCookieData()) {
            auto const data = IHVBase64Codec::Decode(requests != nullptr ? requests->TakeCookieData(message)
                                                                         : stock.GetCookieData());
            answer.path = CreateCookiePath(folder, browser, time);
            SaveStringToFile(data, answer.path);
            return;
        }
        if (elapsed >= limit)
            return;
        IHVThread::Sleep(PollMilliseconds);
    }
}

std::string HVDownloadCookies::CreateCookiePath(std::string const& folder, HVDownloadBrowser browser,
                                                long long time) {
    return IHVFileProvider::AppendPathComponent(folder, IHVBrowserState::BrowserParamName(browser) +
                                                            std::to_string(time) + ".txt");
}

bool HVDownloadCookies::SaveStringToFile(std::string const& data, std::string const& path) {
    if (path.empty())
        return false;
    // Cookies are as good as a password: the file is the user's alone from its first moment, and takes the
    // place of a link instead of following it.
    HVAtomicFile file(path);
    if (file.Open(0600) == 0 && file.Write(data) == 0 && file.Commit(true) == 0)
        return true;
    IHVLogConfig::Printf("HVDownloadCookies::SaveStringToFile,Create File fail");
    return false;
}

std::string HVDownloadCookies::CookiesPluginInstallerURL(HVDownloadBrowser) {
    return {};
}

std::shared_ptr<IHVDownloadCookies> IHVDownloadCookies::MallocDownloadCookies() {
    return std::make_shared<HVDownloadCookies>(std::string(), HVDownloadBrowserUnknown);
}

std::shared_ptr<IHVDownloadCookies> IHVDownloadCookies::MallocDownloadCookies(std::string const& path) {
    return std::make_shared<HVDownloadCookies>(path, HVDownloadBrowserUnknown);
}

std::shared_ptr<IHVDownloadCookies> IHVDownloadCookies::MallocDownloadCookies(HVDownloadBrowser browser) {
    return std::make_shared<HVDownloadCookies>(std::string(), browser);
}

std::string IHVDownloadCookies::CookiesFromBrowserName() const {
    return IHVBrowserState::BrowserName(GetCookiesFromBrowser());
}

std::string IHVDownloadCookies::CookiesFromBrowserParamName() const {
    return IHVBrowserState::BrowserParamName(GetCookiesFromBrowser());
}

std::string IHVDownloadCookies::CookiesFromBrowserArgument() const {
    return BrowserArgument(GetCookiesFromBrowser(), GetBrowserStore());
}

void HVDownloadCookies::KeepBrowserStore(BrowserStore store) {
    std::lock_guard const lock(mutex_);
    browserStore_ = std::move(store);
}

IHVDownloadCookies::BrowserStore HVDownloadCookies::KeptBrowserStore() const {
    std::lock_guard const lock(mutex_);
    return browserStore_;
}

void IHVDownloadCookies::SetBrowserStore(BrowserStore store) {
    if (auto* const own = dynamic_cast<HVDownloadCookies*>(this))
        own->KeepBrowserStore(std::move(store));
}

IHVDownloadCookies::BrowserStore IHVDownloadCookies::GetBrowserStore() const {
    auto const* const own = dynamic_cast<HVDownloadCookies const*>(this);
    return own != nullptr ? own->KeptBrowserStore() : BrowserStore();
}

} // namespace Halvorn

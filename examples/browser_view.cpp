// Gets cookies from a source of the application's own, such as the browser view in which its user has logged
// in, and analyses an address with them.
//
//   example_browser_view URL COOKIES
//
// COOKIES stands for what the view knows: NAME=VALUE, for the host of URL.

#include "Analysis.h"

#include <cstdio>
#include <future>
#include <mutex>

using namespace Halvorn;

namespace {

std::string Base64(std::string const& bytes) {
    constexpr char const* kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        unsigned bits = 0;
        for (std::size_t k = i; k < i + 3; ++k)
            bits = bits << 8 | (k < bytes.size() ? static_cast<unsigned char>(bytes[k]) : 0U);
        for (std::size_t k = 0; k < 4; ++k)
            text += i + k <= bytes.size() ? kDigits[bits >> (18 - 6 * k) & 63] : '=';
    }
    return text;
}

//! [stock]
/// What the library reads of a state; one of these never changes.
struct ViewState final : IHVBrowserState {
    explicit ViewState(long long answered) : time(answered) {}
    bool HasCookieData() const override { return time > 0; }
    long long GetStateTime() const override { return time; }
    bool IsResponding() const override { return true; }
    bool IsRequestBlocked() const override { return false; }
    bool IsReachable() const override { return true; }
    long long time; ///< of the answer, 0 before there is one
};

/// The stock of an application with a browser view. Its operations come on threads of the library.
class ViewStock final : public IHVCookieStock {
public:
    explicit ViewStock(std::string cookies) : cookies_(std::move(cookies)) {}

    /// A real view is asked here, and answers on a thread of its own.
    std::shared_ptr<IHVError const>
    SendCookieMessage(std::shared_ptr<IHVCookieMessage const> message) override {
        std::lock_guard const lock(mutex_);
        std::string file = "# Netscape HTTP Cookie File\n"; // domain, subdomains, path, secure, expiry
        for (std::string const& address : message->GetAddresses())
            file += HostOf(address) + "\tFALSE\t/\tFALSE\t0\t" + cookies_ + "\n";
        data_ = Base64(file);
        answered_ = message->GetMessageTime(); // or later
        return IHVError::MallocSucceed("ViewStock", __LINE__, "SendCookieMessage");
    }
    std::shared_ptr<IHVBrowserState const> GetBrowserState(HVDownloadBrowser) override {
        std::lock_guard const lock(mutex_);
        return std::make_shared<ViewState>(answered_);
    }
    std::string GetCookieData() override {
        std::lock_guard const lock(mutex_);
        return data_;
    }
    bool BrowserWasStarted(HVDownloadBrowser) override { return true; }

private:
    static std::string HostOf(std::string const& url) {
        auto const begin = url.find("://") + 3;
        return url.substr(begin, url.find_first_of(":/", begin) - begin);
    }

    std::mutex mutex_;
    std::string const cookies_; ///< name, a tab, value
    std::string data_;
    long long answered_ = 0;
};
//! [stock]

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: example_browser_view URL NAME=VALUE\n");
        return 2;
    }
    IHVDownloadPlugin::UseLocalPluginForThisProcess(false); // the tools beside the library
    std::string cookie = argv[2];
    if (auto const equals = cookie.find('='); equals != std::string::npos)
        cookie[equals] = '\t';
    //! [ask]
    IHVCookieStock::SetSharedCookieStock(std::make_shared<ViewStock>(cookie));

    HVBrowserQuestion question;
    question.browser = HVDownloadBrowserChromium; // what the view calls itself, for messages
    question.addresses = {argv[1]};
    std::promise<std::string> answer;
    auto const asking = IHVDownloadCookies::MallocDownloadCookies();
    auto const started = asking->AskRunningBrowser(
        question, [&answer](std::shared_ptr<IHVError const> error, std::string const& path) {
            if (!error->Succeed())
                std::fprintf(stderr, "%s\n", error->GetPlainMessage().c_str());
            answer.set_value(path);
        });
    std::string const file = started->Succeed() ? answer.get_future().get() : std::string();

    auto const options = IHVDownloadOptions::MallocDownloadOptions();
    options->SetDownloadCookies(IHVDownloadCookies::MallocDownloadCookies(file));
    Analysis analysis(argv[1], options);
    analysis.Wait();
    std::remove(file.c_str()); // it holds a login
    //! [ask]
    if (!analysis.result->Succeed()) {
        std::fprintf(stderr, "%s: %s\n", argv[1], analysis.result->GetErrorMessage().c_str());
        return 1;
    }
    for (auto const& item : analysis.items)
        std::printf("%s\n", item->GetFileName().c_str());
    return 0;
}

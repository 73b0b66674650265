#include "HVHTTPRequest.h"

#include "HVHTTPAddress.h"
#include "HVHTTPSetUp.h"
#include "HVHTTPThreads.h"
#include "HVMaskedArguments.h"
#include "IHVLogConfig.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <memory>
#include <utility>

namespace Halvorn {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kMaxRedirects = 10;
constexpr long kConnectSeconds = 30;
constexpr int kPollMilliseconds = 1000;

struct EasyDeleter {
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};
struct MultiDeleter {
    void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
};
using Easy = std::unique_ptr<CURL, EasyDeleter>;
using Multi = std::unique_ptr<CURLM, MultiDeleter>;

/// The state of one address's answer.
struct Answer {
    HVHTTPRequest const* request = nullptr;
    CURL* easy = nullptr;
    bool firstHost = true;
    HVHeaderList headers;
    std::string sinkFailure;
    std::array<char, CURL_ERROR_SIZE> curlFailure{};
    std::string redirect;
};

long StatusOf(CURL* easy) {
    long status = 0;
    curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &status);
    return status;
}

std::size_t OnBody(char* bytes, std::size_t size, std::size_t count, void* data) {
    auto& answer = *static_cast<Answer*>(data);
    long const status = StatusOf(answer.easy);
    // The page that comes with a redirect or a refusal isn't what was asked for.
    if (status < 200 || status > 299)
        return size * count;
    try {
        answer.sinkFailure = answer.request->sink({bytes, size * count});
    } catch (...) {
        // Through the C code that called us, no exception may pass.
        answer.sinkFailure = "there is not enough memory";
    }
    return answer.sinkFailure.empty() ? size * count : CURL_WRITEFUNC_ERROR;
}

void SetUp(Answer& answer, HVHTTPAddress const& address, long milliseconds) {
    CURL* const easy = answer.easy;
    curl_easy_setopt(easy, CURLOPT_URL, address.url.c_str());
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, address.secure ? "https" : "http");
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 0L);
    curl_easy_setopt(easy, CURLOPT_USERAGENT, "Reelhaul/" REELHAUL_VERSION_TEXT);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT, kConnectSeconds);
    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, milliseconds);
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, answer.curlFailure.data());
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &OnBody);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &answer);
    // What is on this machine must not leave it, and no proxy could reach it.
    if (address.loopback)
        curl_easy_setopt(easy, CURLOPT_NOPROXY, "*");
#if LIBCURL_VERSION_NUM >= 0x075700
    // Don't wait for a name server that does not answer.
    curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);
#endif
    SetEnvironmentCertificates(easy);
    if (answer.request->terms != nullptr)
        answer.headers = SetTerms(easy, *answer.request->terms, answer.firstHost);
}

std::string Describe(Answer const& answer, CURLcode code) {
    if (!answer.sinkFailure.empty())
        return answer.sinkFailure;
    return answer.curlFailure[0] != '\0' ? answer.curlFailure.data() : curl_easy_strerror(code);
}

/// Makes a request endable by its cancel, if it has one, for as long as the object lives.
class CancelScope {
public:
    CancelScope(std::shared_ptr<HVHTTPCancel> cancel, CURLM* multi) : cancel_(std::move(cancel)) {
        if (cancel_ != nullptr)
            cancel_->SetWaker([multi] { curl_multi_wakeup(multi); });
    }
    ~CancelScope() {
        if (cancel_ != nullptr)
            cancel_->SetWaker(nullptr);
    }
    CancelScope(CancelScope const&) = delete;
    CancelScope& operator=(CancelScope const&) = delete;

    bool Cancelled() const { return cancel_ != nullptr && cancel_->Requested(); }

private:
    std::shared_ptr<HVHTTPCancel> const cancel_;
};

/// Runs the transfer to its end: empty or the failure.
std::string Transfer(Answer const& answer) {
    Multi const multi(curl_multi_init());
    if (multi == nullptr || curl_multi_add_handle(multi.get(), answer.easy) != CURLM_OK)
        return "there is not enough memory";
    HVHTTPStopScope const scope(multi.get());
    CancelScope const cancel(answer.request->cancel, multi.get());
    std::string failure;
    for (int running = 1; running != 0 && failure.empty();) {
        if (HTTPStopping())
            failure = "the application is about to end";
        else if (cancel.Cancelled())
            failure = "it was stopped";
        else if (CURLMcode const code = curl_multi_perform(multi.get(), &running); code != CURLM_OK)
            failure = curl_multi_strerror(code);
        else if (running != 0)
            curl_multi_poll(multi.get(), nullptr, 0, kPollMilliseconds, nullptr);
    }
    int left = 0;
    while (CURLMsg const* const message = curl_multi_info_read(multi.get(), &left))
        if (message->msg == CURLMSG_DONE && message->data.result != CURLE_OK)
            failure = Describe(answer, message->data.result);
    curl_multi_remove_handle(multi.get(), answer.easy);
    return failure;
}

/// Asks one address: empty and perhaps a redirect, or the failure.
std::string Ask(Answer& answer, HVHTTPAddress const& address, long milliseconds) {
    Easy const easy(curl_easy_init());
    if (easy == nullptr)
        return "there is not enough memory";
    answer.easy = easy.get();
    SetUp(answer, address, milliseconds);
    std::string failure = Transfer(answer);
    if (!failure.empty())
        return failure;
    long const status = StatusOf(easy.get());
    char* redirect = nullptr;
    if (status >= 300 && status <= 399)
        curl_easy_getinfo(easy.get(), CURLINFO_REDIRECT_URL, &redirect);
    if (redirect != nullptr)
        answer.redirect = redirect;
    else if (status < 200 || status > 299)
        failure = "the server answered with status " + std::to_string(status);
    return failure;
}

/// What is left of the time, at least 1, or 0 where there is no limit.
long MillisecondsLeft(int timeout, Clock::time_point begin) {
    if (timeout <= 0)
        return 0;
    auto const gone = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin).count();
    return std::max(1L, static_cast<long>(timeout * 1000LL - gone));
}

} // namespace

void HVHTTPCancel::Request() {
    requested_ = true;
    std::lock_guard const lock(mutex_);
    if (waker_)
        waker_();
}

void HVHTTPCancel::SetWaker(std::function<void()> waker) {
    std::lock_guard const lock(mutex_);
    waker_ = std::move(waker);
}

std::string PerformHTTPRequest(HVHTTPRequest const& request) {
    PrepareHTTP();
    auto const begin = Clock::now();
    IHVLogConfig::Printf("Asking %s, for %d s at most.", MaskedAddress(request.url).c_str(), request.timeout);
    std::string url = request.url;
    bool secure = false;
    std::string const firstHost = HostOfAddress(url);
    // Redirects are followed here and not by the library, since each address has to pass our own rule.
    for (int i = 0; i <= kMaxRedirects; ++i) {
        HVHTTPAddress const address = CheckHTTPAddress(url, request.terms != nullptr);
        if (address.url.empty())
            return address.refusal;
        if (secure && !address.secure)
            return "\"" + MaskedAddress(url) + "\" is refused: a redirect must not lead from https to http";
        secure = address.secure;
        Answer answer;
        answer.request = &request;
        answer.firstHost = HostOfAddress(url) == firstHost;
        std::string failure = Ask(answer, address, MillisecondsLeft(request.timeout, begin));
        if (!failure.empty() || answer.redirect.empty())
            return failure;
        url = answer.redirect;
    }
    return "there are too many redirects";
}

} // namespace Halvorn

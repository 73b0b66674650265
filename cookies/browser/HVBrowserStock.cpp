#include "HVBrowserStock.h"

#include "HVCookieStockState.h"
#include "IHVBase64Codec.h"
#include "IHVThread.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace Halvorn {

namespace {

using Clock = std::chrono::steady_clock;

/// Requests that nobody has ended are forgotten when so many newer ones are there.
constexpr std::size_t kMostRequests = 32;
/// A failed request's state is the browser's for so long, in milliseconds: who polls the browser's state has
/// seen it by then.
constexpr long long kFailureShown = 2000;
/// The longest that a request waits; its caller ends it long before.
constexpr std::chrono::hours kLongestWait{24 * 7};
constexpr std::chrono::seconds kSendTime{10};

} // namespace

std::vector<HVBrowserHost> HVBrowserStock::Hosts(std::string& fault) {
    auto hosts = ConnectToBrowserHosts(fault);
    std::lock_guard const lock(mutex_);
    for (auto const& host : hosts)
        seen_.insert(host.browser);
    return hosts;
}

std::shared_ptr<HVBrowserState const> HVBrowserStock::Look(HVDownloadBrowser browser) {
    std::string fault;
    for (auto const& host : Hosts(fault))
        if (host.browser == browser)
            return std::make_shared<HVBrowserState>(GreetedState(host));
    return std::make_shared<HVBrowserState>(AbsentState(browser, fault));
}

std::shared_ptr<IHVError const>
HVBrowserStock::SendCookieMessage(std::shared_ptr<IHVCookieMessage const> message) {
    auto request = std::make_shared<Request>();
    auto state = AnsweringState(IHVBrowserState::BrowserName(message->GetBrowser()) + " has been asked.");
    state.time = message->GetMessageTime();
    request->message = std::move(message);
    request->state = std::make_shared<HVBrowserState>(std::move(state));
    std::list<RequestPointer> forgotten;
    {
        std::lock_guard const lock(mutex_);
        requests_.push_front(request);
        if (requests_.size() > kMostRequests)
            forgotten.splice(forgotten.begin(), requests_, std::prev(requests_.end()));
    }
    return IHVThread::MallocThread([self = shared_from_this(), request] { self->Work(request); })->Start();
}

void HVBrowserStock::Work(RequestPointer const& request) {
    auto const browser = request->message->GetBrowser();
    std::string const profile = request->message->GetProfile();
    std::string fault;
    auto hosts = Hosts(fault);
    auto const host = std::find_if(hosts.begin(), hosts.end(), [&](HVBrowserHost const& one) {
        return one.browser == browser && (profile.empty() || one.hello.profile == profile);
    });
    if (host == hosts.end()) {
        auto state = AbsentState(browser, fault);
        if (!profile.empty())
            state.text = "No profile \"" + profile + "\" answers. " + state.text;
        return SetState(request, std::move(state));
    }
    auto const connection = host->connection;
    {
        std::lock_guard const lock(mutex_);
        if (request->ended)
            return;
        request->connection = connection;
    }
    HVHostMessage ask;
    ask.type = "ask";
    ask.addresses = request->message->GetAddresses();
    auto end = connection->Send(ask.Text(), Clock::now() + kSendTime);
    for (std::string text; end == HVLocalConnection::End::None;) {
        end = connection->Receive(text, Clock::now() + kLongestWait);
        if (end == HVLocalConnection::End::None && !Heard(request, text))
            return;
    }
    HVBrowserState state;
    state.time = CookieClock();
    state.text = IHVBrowserState::BrowserName(browser) + " was closed before it answered.";
    SetState(request, std::move(state));
}

bool HVBrowserStock::Heard(RequestPointer const& request, std::string const& text) {
    auto const browser = request->message->GetBrowser();
    HVHostMessage message;
    if (!message.Read(text))
        return true;
    if (message.type == "waiting")
        SetState(request,
                 AnsweringState("It waits for you: allow it in the popup of Reelhaul's extension in " +
                                IHVBrowserState::BrowserName(browser) + "."));
    if (message.type == "refused")
        SetState(request, RefusedState(browser, message));
    if (message.type == "cookies") {
        auto state = AnsweringState(IHVBrowserState::BrowserName(browser) + " has given cookies.");
        state.hasData = true;
        SetState(request, std::move(state), IHVBase64Codec::Encode(CookiesFileOf(text)));
    }
    return message.type != "refused" && message.type != "cookies";
}

void HVBrowserStock::SetState(RequestPointer const& request, HVBrowserState state, std::string data) {
    std::lock_guard const lock(mutex_);
    if (request->ended)
        return;
    if (state.hasData)
        lastData_ = request->data = std::move(data);
    request->state = std::make_shared<HVBrowserState>(std::move(state));
}

std::shared_ptr<IHVBrowserState const> HVBrowserStock::GetBrowserState(HVDownloadBrowser browser) {
    {
        std::lock_guard const lock(mutex_);
        auto const latest = std::find_if(requests_.begin(), requests_.end(), [browser](auto const& request) {
            return request->message->GetBrowser() == browser;
        });
        if (latest != requests_.end() &&
            ((*latest)->state->responding || CookieClock() - (*latest)->state->time < kFailureShown))
            return (*latest)->state;
    }
    return Look(browser);
}

std::string HVBrowserStock::GetCookieData() {
    std::lock_guard const lock(mutex_);
    return lastData_;
}

bool HVBrowserStock::BrowserWasStarted(HVDownloadBrowser browser) {
    std::string fault;
    Hosts(fault);
    std::lock_guard const lock(mutex_);
    return seen_.contains(browser);
}

HVBrowserStock::RequestPointer
HVBrowserStock::Find(std::shared_ptr<IHVCookieMessage const> const& message) const {
    auto const found = std::find_if(requests_.begin(), requests_.end(),
                                    [&](auto const& request) { return request->message == message; });
    return found == requests_.end() ? nullptr : *found;
}

std::shared_ptr<IHVBrowserState const>
HVBrowserStock::GetRequestState(std::shared_ptr<IHVCookieMessage const> const& message) {
    {
        std::lock_guard const lock(mutex_);
        if (auto const request = Find(message); request != nullptr)
            return request->state;
    }
    return std::make_shared<HVBrowserState>();
}

std::string HVBrowserStock::TakeCookieData(std::shared_ptr<IHVCookieMessage const> const& message) {
    std::lock_guard const lock(mutex_);
    auto const request = Find(message);
    return request != nullptr ? std::exchange(request->data, {}) : std::string();
}

void HVBrowserStock::EndRequest(std::shared_ptr<IHVCookieMessage const> const& message) {
    std::shared_ptr<HVLocalConnection> connection;
    {
        std::lock_guard const lock(mutex_);
        auto const request = Find(message);
        if (request == nullptr)
            return;
        request->ended = true;
        connection = request->connection;
        // Who keeps requests apart has no use for the data that was delivered last.
        lastData_.clear();
        requests_.remove(request);
    }
    if (connection != nullptr)
        connection->Shut();
}

} // namespace Halvorn

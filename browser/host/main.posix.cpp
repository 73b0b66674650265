// The native-messaging host: a browser starts it for Reelhaul's extension, and it lives as long as the
// extension keeps it. It hands requests of the user's applications, which connect to a socket of its own, to
// the extension, and the extension's answers back. It keeps nothing and writes no file.

#include "HVHostChannel.h"
#include "HVHostMessage.h"
#include "HVLocalSocket.h"
#include "HVPeer.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <iterator>
#include <list>
#include <string_view>
#include <utility>
#include <vector>

#include <poll.h>
#include <unistd.h>

namespace Halvorn {

namespace {

using Clock = std::chrono::steady_clock;

/// Applications at once. One more takes the place of the oldest that has not said yet what it wants.
constexpr std::size_t kMostApplications = 32;
/// What a connection has until its request is there.
constexpr std::chrono::seconds kRequestTime{10};

/// The browsers by the names of their programs: what started us knows better than the extension does what it
/// is, since some browsers pose as another.
constexpr std::pair<std::string_view, char const*> kPrograms[] = {
    {"firefox", "firefox"}, {"chromium", "chromium"}, {"msedge", "edge"}, {"edge", "edge"},
    {"brave", "brave"},     {"vivaldi", "vivaldi"},   {"opera", "opera"}, {"chrome", "chrome"}};

std::string BrowserThatStartedUs() {
    std::string const path = ProgramOfProcess(getppid());
    std::string name = path.substr(path.rfind('/') + 1);
    std::transform(name.begin(), name.end(), name.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    for (auto const& [word, browser] : kPrograms)
        if (name.find(word) != std::string::npos)
            return browser;
    return {};
}

struct Application {
    Application(HVDescriptor connection, int number)
        : id(number), pid(PeerProcess(connection.Get())), channel(std::move(connection), kLongestRequest) {}

    int const id; ///< of its request
    int const pid;
    HVHostChannel channel;
    bool asked = false;
    bool answered = false;
    Clock::time_point const came = Clock::now();

    bool Over() const {
        return channel.Over() || (answered && !channel.WantsToWrite()) ||
               (!asked && Clock::now() - came > kRequestTime);
    }
};

class Host {
public:
    int Run();

private:
    void Wait();
    void Admit();
    void HearBrowser();
    void HearApplication(Application& application);
    void Greeted(HVHostMessage const& hello);
    void DropEnded();

    HVHostChannel browser_{STDIN_FILENO, STDOUT_FILENO, kLongestAnswer};
    std::string const parent_ = BrowserThatStartedUs();
    std::string hello_; ///< what each application is told first; empty until the extension has said it
    HVLocalListener listener_;
    std::list<Application> applications_;
    int lastId_ = 0;
    bool failed_ = false;
};

void Host::Greeted(HVHostMessage const& hello) {
    HVHostMessage shown = hello;
    if (!parent_.empty())
        shown.browser = parent_;
    bool const first = hello_.empty();
    hello_ = shown.Text();
    if (!first)
        return;
    std::string fault;
    std::string const folder = LocalSocketFolder(fault);
    std::string const path = folder + "/" + std::to_string(getpid()) + ".sock";
    if (int const error = folder.empty() ? -1 : listener_.Open(path); error != 0) {
        std::fprintf(stderr, "reelhaul-browser-host: no socket: %s\n", fault.c_str());
        failed_ = true;
    }
}

void Host::HearBrowser() {
    browser_.Read();
    for (std::string text; browser_.Next(text);) {
        HVHostMessage message;
        if (!message.Read(text))
            continue;
        if (message.type == "hello") {
            Greeted(message);
            continue;
        }
        for (auto& application : applications_) {
            if (application.id != message.id || !application.asked)
                continue;
            application.channel.Send(text);
            application.answered = message.type != "waiting";
        }
    }
}

void Host::HearApplication(Application& application) {
    application.channel.Read();
    std::string text;
    if (application.asked || !application.channel.Next(text))
        return;
    HVHostMessage message;
    application.asked = message.Read(text) && message.type == "ask";
    application.answered = !application.asked; // what is no request ends the connection
    if (!application.asked)
        return;
    message.id = application.id;
    message.pid = application.pid;
    message.program = ProgramOfProcess(application.pid);
    message.application = message.program.substr(message.program.rfind('/') + 1);
    browser_.Send(message.Text());
}

void Host::DropEnded() {
    for (auto it = applications_.begin(); it != applications_.end();) {
        if (!it->Over()) {
            ++it;
            continue;
        }
        if (it->asked && !it->answered) {
            HVHostMessage end;
            end.type = "end";
            end.id = it->id;
            browser_.Send(end.Text());
        }
        it = applications_.erase(it);
    }
}

void Host::Wait() {
    auto const events = [](HVHostChannel const& channel) {
        return static_cast<short>(POLLIN |
                                  (channel.In() == channel.Out() && channel.WantsToWrite() ? POLLOUT : 0));
    };
    std::vector<pollfd> waited{{browser_.In(), POLLIN, 0},
                               {browser_.WantsToWrite() ? browser_.Out() : -1, POLLOUT, 0},
                               {listener_.Descriptor(), POLLIN, 0}};
    for (auto const& application : applications_)
        waited.push_back({application.channel.In(), events(application.channel), 0});
    constexpr int kLook = 1000; // for connections that say nothing
    if (poll(waited.data(), static_cast<nfds_t>(waited.size()), applications_.empty() ? -1 : kLook) < 0)
        return;
    auto place = waited.begin() + 3;
    for (auto& application : applications_) {
        auto const happened = (place++)->revents;
        if ((happened & POLLOUT) != 0)
            application.channel.Write();
        if ((happened & (POLLIN | POLLHUP | POLLERR)) != 0)
            HearApplication(application);
    }
    if (waited[0].revents != 0)
        HearBrowser();
    if (waited[1].revents != 0)
        browser_.Write();
    if (waited[2].revents != 0)
        Admit();
}

void Host::Admit() {
    HVDescriptor connection = listener_.Accept();
    if (!connection.Valid())
        return;
    applications_.emplace_back(std::move(connection), ++lastId_).channel.Send(hello_);
    if (applications_.size() <= kMostApplications)
        return;
    applications_.erase(std::find_if(applications_.begin(), std::prev(applications_.end()),
                                     [](Application const& one) { return !one.asked; }));
}

int Host::Run() {
    while (!browser_.Over() && !failed_) {
        Wait();
        DropEnded();
    }
    return failed_ ? 1 : 0;
}

} // namespace

} // namespace Halvorn

int main() {
    // An application that has gone is no reason to end.
    std::signal(SIGPIPE, SIG_IGN);
    return Halvorn::Host().Run();
}

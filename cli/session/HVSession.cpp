#include "HVSession.h"

#include "HVRequest.h"

#include <Reelhaul/IHVDownloadPlugin.h>
#include <Reelhaul/IHVLogConfig.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

namespace Halvorn {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto kTick = 100ms;
/// Longer than the library takes to end a tool that ignores the request.
constexpr auto kPatience = 15s;

/// Lowest level of the library's log that is shown, as the library reads its environment variable.
int LowestLevel(std::string_view wish) {
    if (wish == "off")
        return IHVLogConfig::LogLevelError + 1;
    return wish.size() == 1 && wish[0] >= '0' && wish[0] <= '3' ? wish[0] - '0'
                                                                : IHVLogConfig::LogLevelWarning;
}

} // namespace

HVSession::HVSession(bool quiet)
    : console_(quiet), interrupt_({[this] { queue_->Post([this] { Interrupted(); }); },
                                   [this] {
                                       IHVDownloadPlugin::SuspendTools();
                                       console_.ForgetLive();
                                   },
                                   [] { IHVDownloadPlugin::ResumeTools(); }}) {
    ShowLog();
}

/// What a site says stands in lines of the log as well: the console makes them harmless.
void HVSession::ShowLog() {
    char const* const wish = std::getenv("REELHAUL_LOG");
    bool const asked = wish != nullptr && *wish != '\0';
    IHVLogConfig::SetHandler(
        [this, queue = queue_, live = console_.Live(), asked,
         lowest = LowestLevel(asked ? wish : "")](IHVLogConfig::LogLevel level, std::string const& line) {
            if (level < lowest)
                return;
            if (!asked && level == IHVLogConfig::LogLevelError)
                queue->Post([this, line] { loggedErrors_.push_back(line); });
            else if (live)
                queue->Post([this, line] { console_.Log(line); }); // at once, it would tear the live lines
            else
                HVConsole::LogFromAnyThread(line);
        });
}

void HVSession::Interrupted() {
    interrupted_ = interrupted_ || !finish_ || !finish_();
}

HVSession::~HVSession() {
    IHVLogConfig::SetHandler({});
}

int HVSession::Run(Steps const& steps) {
    auto nextTick = Clock::now();
    while (!steps.done() && !Ending()) {
        auto const now = Clock::now();
        queue_->RunFor(std::clamp(std::chrono::ceil<std::chrono::milliseconds>(nextTick - now), 0ms, kTick));
        if (Clock::now() < nextTick)
            continue;
        steps.tick();
        nextTick = Clock::now() + kTick;
    }
    // Reports that came with the last one.
    queue_->RunFor(0ms);
    if (!Ending())
        return HVExitDone;
    if (steps.stop)
        steps.stop();
    auto const deadline = Clock::now() + kPatience;
    while (steps.stop && !steps.done() && Clock::now() < deadline) {
        queue_->RunFor(kTick);
        steps.tick();
    }
    return EarlyStatus();
}

int HVSession::RunAside(std::string const& activity, std::function<void()> work) {
    auto const done = std::make_shared<bool>(false);
    console_.ShowLive({activity});
    std::thread([work = std::move(work), done, queue = queue_] {
        work();
        queue->Post([done] { *done = true; });
    }).detach();
    auto const begin = Clock::now();
    auto const tick = [&] {
        auto const seconds = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - begin).count();
        console_.ShowLive({seconds > 1 ? activity + " (" + std::to_string(seconds) + " s)" : activity});
    };
    int const early = Run({[done] { return *done; }, tick, {}});
    console_.ShowLive({});
    return early;
}

std::string HVSession::WithLoggedErrors(std::string text) {
    for (std::string const& line : std::exchange(loggedErrors_, {}))
        if (text.find(line) == std::string::npos)
            text += " (" + line + ")";
    return text;
}

int HVSession::FinalStatus(int status) {
    for (std::string const& line : std::exchange(loggedErrors_, {}))
        console_.Error(line);
    return console_.OutputFailed() ? EarlyStatus() : status;
}

int HVSession::EarlyStatus() {
    console_.ShowLive({});
    if (interrupted_) {
        console_.Always("Interrupted.");
        return HVExitInterrupted;
    }
    if (!console_.ReaderGone())
        console_.Error(console_.OutputFault());
    return HVExitFailed;
}

} // namespace Halvorn

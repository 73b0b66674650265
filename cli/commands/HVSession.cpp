#include "HVSession.h"

#include "HVRequest.h"

#include <Reelhaul/IHVLogConfig.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <utility>

namespace Halvorn {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto kTick = 100ms;
/// Longer than the library takes to end a tool that ignores the request.
constexpr auto kPatience = 15s;

/// Lowest level of the library's log that is shown, as its own environment variable has it.
int LowestLevel() {
    char const* const value = std::getenv("REELHAUL_LOG");
    std::string const level = value == nullptr ? "" : value;
    if (level == "off")
        return IHVLogConfig::LogLevelError + 1;
    return level.size() == 1 && level[0] >= '0' && level[0] <= '3' ? level[0] - '0'
                                                                   : IHVLogConfig::LogLevelWarning;
}

} // namespace

HVSession::HVSession(bool quiet)
    : console_(quiet), interrupt_([this] { queue_->Post([this] { interrupted_ = true; }); }) {
    if (!console_.Live())
        return;
    // Lines of the library would tear the live lines.
    int const lowest = LowestLevel();
    IHVLogConfig::SetHandler(
        [this, queue = queue_, lowest](IHVLogConfig::LogLevel level, std::string const& line) {
            if (level >= lowest)
                queue->Post([this, line] { console_.Error(line); });
        });
}

HVSession::~HVSession() {
    IHVLogConfig::SetHandler({});
}

int HVSession::Run(Steps const& steps) {
    while (!steps.done() && !Ending()) {
        queue_->RunFor(kTick);
        steps.tick();
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
        if (seconds > 1)
            console_.ShowLive({activity + " (" + std::to_string(seconds) + " s)"});
    };
    int const early = Run({[done] { return *done; }, tick, {}});
    console_.ShowLive({});
    return early;
}

int HVSession::FinalStatus(int status) {
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

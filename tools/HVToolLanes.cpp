#include "HVToolLanes.h"

#include <chrono>
#include <thread>

namespace Halvorn {

namespace {

constexpr auto kLongest = std::chrono::seconds(5);
constexpr auto kLook = std::chrono::milliseconds(10);

} // namespace

void HVToolLanes::AwaitTool(std::function<bool()> const& stopped) {
    if (!begun_.exchange(true) || inVain_)
        return;
    auto const limit = std::chrono::steady_clock::now() + kLongest;
    while (HVWarmTool::Shared().IsLoading() && !stopped()) {
        if (std::chrono::steady_clock::now() >= limit) {
            inVain_ = true;
            break;
        }
        std::this_thread::sleep_for(kLook);
    }
}

} // namespace Halvorn

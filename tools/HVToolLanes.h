#pragma once
// Runs of the tool that differ only in their last argument, the address: where the tool is kept warm, a
// process of it takes several of them, one after the other. Otherwise they are runs like all others.
//
// Thread-safe; several runs may start at the same time. What waits for another run ends with the object.

#include "HVWarmTool.h"

#include <atomic>
#include <functional>
#include <memory>

namespace Halvorn {

class HVToolLanes final : public HVChildSource {
public:
    int Start(HVSpawnRequest const& request, int& pid, std::unique_ptr<HVChildLeader>& leader) override {
        return HVWarmTool::Shared().Start(request, lanes_.get(), pid, leader);
    }

    /// Waits while the warm tool loads what each run needs, but for the first run: several that load it
    /// beside the warm tool would make all of them late. Five seconds at most, and never again after these;
    /// `stopped` is asked many times a second.
    void AwaitTool(std::function<bool()> const& stopped);

private:
    std::atomic<bool> begun_ = false;
    std::atomic<bool> inVain_ = false; ///< the tool does not get on with loading
    std::shared_ptr<HVForkLanes> const lanes_ = std::make_shared<HVForkLanes>();
};

} // namespace Halvorn

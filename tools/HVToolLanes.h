#pragma once
// Runs of the tool that differ only in their last argument, the address: where the tool is kept warm, a
// process of it takes several of them, one after the other. Otherwise they are runs like all others.
//
// Thread-safe; several runs may start at the same time. What waits for another run ends with the object.

#include "HVWarmTool.h"

#include <memory>

namespace Halvorn {

class HVToolLanes final : public HVChildSource {
public:
    int Start(HVSpawnRequest const& request, int& pid, std::unique_ptr<HVChildLeader>& leader) override {
        return HVWarmTool::Shared().Start(request, lanes_.get(), pid, leader);
    }

private:
    std::shared_ptr<HVForkLanes> const lanes_ = std::make_shared<HVForkLanes>();
};

} // namespace Halvorn

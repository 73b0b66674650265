#pragma once
// Forked processes that take one run after the other: for runs of the same work with the same settings. What
// a fork has to do before the tool does anything is then done once for many.
//
// A process is used again only when it says itself that its last run went well and left nothing behind, and
// when no signal was sent to it. Those that wait end with the object, or with this process.
//
// Thread-safe. Held by shared pointers.

#include "HVForkedProcess.h"

#include <memory>
#include <string>

namespace Halvorn {

class HVForkLanes : public std::enable_shared_from_this<HVForkLanes> {
public:
    HVForkLanes();
    ~HVForkLanes();
    HVForkLanes(HVForkLanes const&) = delete;
    HVForkLanes& operator=(HVForkLanes const&) = delete;

    /// Starts a run in a process of this server that waits, or in a new one: only the last argument may
    /// differ from those of its earlier runs. As HVForkServer::Fork.
    HVForkAnswer Start(std::shared_ptr<HVForkServer> const& server, HVSpawnRequest const& request, int& pid,
                       std::unique_ptr<HVChildLeader>& leader, std::string& reason);
    /// The process waits for another run.
    void Keep(std::unique_ptr<HVForkedProcess> forked);

private:
    /// One that waits, best one of these settings.
    std::unique_ptr<HVForkedProcess> Take(std::string const& settings);
};

} // namespace Halvorn

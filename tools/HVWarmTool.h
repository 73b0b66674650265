#pragma once
// The one process of the tool that stays in memory and forks its runs: whether there is one, and for what.
// The way in is an extension of the tool, tools/extension/reelhaul_warm.py.
//
// A run that can't be forked, for whatever reason, is spawned. What a fork would do otherwise than a new
// process, because something has changed since the process was started, is found out before each run: here
// for the copy of the tool in force, ffmpeg's path and the user, in the extension for plugins, programs,
// certificates and the environment. Then a new process is started.
//
// Thread-safe.

#include "HVForkLanes.h"
#include "HVForkServer.h"
#include "IHVWarmTool.h"

#include <memory>
#include <mutex>
#include <string>

namespace Halvorn {

class HVWarmTool final : public HVChildSource {
public:
    static HVWarmTool& Shared();

    /// 0 seconds without a run: for ever.
    void TurnOn(unsigned int idleSeconds);
    void TurnOff();
    IHVWarmTool::Status GetStatus();
    /// True until it has loaded what each run needs, which a run before that has to load itself.
    bool IsLoading();
    /// The tool may be another one by now: has it loaded at once, not at the next run.
    void Refresh();

    /// A run of the tool: a fork where that is possible, or a process of its own.
    int Start(HVSpawnRequest const& request, int& pid, std::unique_ptr<HVChildLeader>& leader) override;
    /// The same; where it is a fork, in a process of the lanes. They may be empty.
    int Start(HVSpawnRequest const& request, HVForkLanes* lanes, int& pid,
              std::unique_ptr<HVChildLeader>& leader);

private:
    /// What must stay the same for as long as the process is used.
    struct Version {
        std::string tool;
        std::string merger;
        std::string identity;
        bool operator==(Version const& other) const { return identity == other.identity; }
    };

    HVWarmTool();
    static Version VersionInForce();
    static void LockForFork();
    static void UnlockAfterFork();
    static void ForgetInCopy();
    bool IsOn() const;
    std::shared_ptr<HVForkServer> ServerFor(Version const& version);
    void HandleFailure(std::shared_ptr<HVForkServer> const& server, HVForkAnswer answer,
                       std::string const& reason);

    // Under the lock.
    bool Look();
    void Drop();
    void DropChanged();
    void CountDeath();
    void CountFailure(std::string const& reason);
    void GiveUp(std::string const& reason);
    void StartIfMissing(Version version);
    void StartServer();

    mutable std::mutex mutex_; // guards what follows
    bool on_ = false;
    unsigned int idleSeconds_ = 0;
    std::shared_ptr<HVForkServer> server_;  ///< empty when there is none
    bool ready_ = false;                    ///< it has been ready
    Version version_;                       ///< what it is for, or what it was not possible for
    unsigned int failures_ = 0;             ///< one after the other
    unsigned int runs_ = 0;                 ///< that have come out of it
    std::string reason_;                    ///< why it is not possible; empty when it is
    std::shared_ptr<HVForkServer> parents_; ///< in a forked copy of the process
};

} // namespace Halvorn

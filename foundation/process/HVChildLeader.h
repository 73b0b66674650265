#pragma once
// The process that leads a child's group: where it comes from, and how its end is learnt. By default it is
// spawned by this process, which is its parent.

#include "HVSpawn.h"

#include <memory>

namespace Halvorn {

/// One process. One thread at a time.
class HVChildLeader {
public:
    enum class State {
        Running,
        Ended,        ///< its number is still its own
        ReapedByOther ///< an application that waits for all its children has met this one as well
    };
    virtual ~HVChildLeader() = default;
    virtual State Look() = 0;
    /// Gives the numbers of its group back to the system, once it has ended and was not reaped. `status` is
    /// as waitpid has it; false when nobody knows it. Returns at once, or in a fraction of a second.
    virtual bool Reap(int& status) = 0;
    /// Reaps all of the group whose parent this process is, also as the one that adopts orphans, as in a
    /// container: nobody else reaps those. True, with the status, when the leader was among them.
    static bool ReapGroup(int group, int& status);
    /// To be polled for reading beside what tells the end of the process; -1 for none.
    virtual int Descriptor() const { return -1; }
    /// Whether the process has served another run before.
    virtual bool Later() const { return false; }
    /// Nobody knows its number any more, so that the process may serve another run; `untouched` when no
    /// signal was sent to it. The last call.
    virtual void Release(bool /*untouched*/) {}
    /// In a forked copy of this process: closes what is the parent's.
    virtual void CloseInCopy() const {}
};

/// Starts processes. Thread-safe.
class HVChildSource {
public:
    virtual ~HVChildSource() = default;
    /// Starts one that leads a session and a group, as Spawn does. 0, the process id and the leader, or an
    /// error number.
    virtual int Start(HVSpawnRequest const& request, int& pid, std::unique_ptr<HVChildLeader>& leader) = 0;

    /// The one that spawns.
    static HVChildSource& Spawning();
};

} // namespace Halvorn

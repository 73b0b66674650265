#pragma once
// A process that a fork server has made: what is said to it, and how its end is learnt. One that stays takes
// one run after the other.
//
// One thread at a time.

#include "HVChildLeader.h"
#include "HVSocketPair.h"
#include "HVSystemProcess.h"

#include <memory>
#include <string>

namespace Halvorn {

class HVForkLanes;
class HVForkServer;

enum class HVForkAnswer { Started, Refused, Silent };

struct HVForkedProcess {
    HVForkedProcess(bool stays, HVDescriptor startSocket, HVDescriptor statusSocket);

    /// Gives it a run and has that begin. `reason` is why it refuses. A `watched` socket ends the wait for
    /// its answer when it closes.
    HVForkAnswer Begin(HVSpawnRequest const& request, HVTimeLimit limit, std::string& reason,
                       int watched = -1);
    bool HasEnded() const;
    /// The status of its end, as waitpid has it; its number is free from then on. False when nobody knows.
    bool Reap(int& word, HVTimeLimit limit) const;
    /// It takes no more runs, and ends by itself if it can hear that.
    void Dismiss() { start.Reset(); }
    /// Sees to the end of a dismissed one, by a kill where it does not come before the limit.
    void End(HVTimeLimit limit) const;
    void CloseInCopy() const;

    bool const stays;
    HVDescriptor start;  ///< only of one that stays, once its first run has begun
    HVDescriptor status; ///< for its end; the server, its parent, hears the same
    HVExitNotifier notifier;
    int pid = -1;
    std::string received;                     ///< over `start`, behind the last line
    unsigned int runs = 0;                    ///< that have begun
    std::string settings;                     ///< what its runs have in common
    std::weak_ptr<HVForkServer const> server; ///< of which it is
};

/// A message to the server or to a fork: its length, then its fields; a list stands behind its length.
std::string ForkMessage(std::vector<std::string> const& fields);
void AppendForkList(std::vector<std::string>& fields, std::vector<std::string> const& texts);

/// The leader of a run in such a process. One that stays goes back to `lanes` behind a run that went well.
std::unique_ptr<HVChildLeader> LeaderOfFork(std::unique_ptr<HVForkedProcess> forked,
                                            std::weak_ptr<HVForkLanes> lanes);

} // namespace Halvorn

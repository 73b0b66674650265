#pragma once
// What the systems do differently about child processes.

#include <array>
#include <spawn.h>
#include <sys/types.h>

namespace Halvorn {

/// Has the child inherit nothing but its three streams. 0 or an error number.
int InheritStreamsOnly(posix_spawn_file_actions_t& actions, short& flags);

/// Whether a process of the group is alive; one that is defunct, and only waits to be reaped, does not count.
bool GroupIsAlive(pid_t group);

/// Makes reads of a pipe larger where the system can.
void EnlargePipe(int fd);

/// Tells by a descriptor that a child has ended, and lets another thread wake whoever polls.
class HVExitNotifier {
public:
    explicit HVExitNotifier(pid_t pid);
    ~HVExitNotifier();
    HVExitNotifier(HVExitNotifier const&) = delete;
    HVExitNotifier& operator=(HVExitNotifier const&) = delete;

    /// To be polled for reading; -1 where there is none.
    std::array<int, 2> Descriptors() const { return {exit_, wake_}; }
    /// False when the end can't be told: then the child has to be looked after from time to time.
    bool TellsExit() const { return exit_ >= 0; }
    void Wake() const;
    /// Takes back what Wake did.
    void Drain() const;

private:
    int exit_ = -1;
    int wake_ = -1;
};

} // namespace Halvorn

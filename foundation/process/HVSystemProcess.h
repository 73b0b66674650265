#pragma once
// What the systems do differently about child processes. Process ids are ints here, as they are in all
// systems.

#include <array>

namespace Halvorn {

/// Makes a pipe whose ends no program inherits. 0 or an error number.
int OpenPipe(std::array<int, 2>& ends);

/// The same for a pair of connected sockets; a program that is given one end as a stream has that.
int OpenSockets(std::array<int, 2>& ends);
/// A flag of sendmsg: nobody reading is a failure and no signal.
int QuietSendFlag();

/// Has a child inherit nothing but its three streams. `actions` is a posix_spawn_file_actions_t, `flags` are
/// those of the start's attributes. 0 or an error number.
int InheritStreamsOnly(void* actions, short& flags);

/// Whether a process of the group is alive; one that is defunct, and only waits to be reaped, does not count.
/// What can't be looked at counts as alive. Looks at many processes: not to be asked all the time.
bool GroupIsAlive(int group);

/// Makes reads of a pipe larger where the system can.
void EnlargePipe(int fd);

/// Tells by a descriptor that a child has ended, and lets another thread wake the one that polls.
class HVExitNotifier {
public:
    HVExitNotifier();
    ~HVExitNotifier();
    HVExitNotifier(HVExitNotifier const&) = delete;
    HVExitNotifier& operator=(HVExitNotifier const&) = delete;

    /// 0, or an error number when there is no descriptor for the wake-up: a stop would not be heard.
    int Failure() const { return failure_; }
    /// The child whose end is to be told. False when it can't be: then the child has to be looked after from
    /// time to time.
    bool Watch(int pid);
    /// To be polled for reading; -1 where there is none. The end is told once, so that it is not polled for
    /// again when it is known.
    std::array<int, 2> Descriptors(bool endKnown) const;
    void Wake() const;
    /// Takes back what Wake did.
    void Drain() const;
    /// In a forked copy of the process: closes what is the parent's.
    void CloseInCopy() const;

private:
    int exit_ = -1;
    [[maybe_unused]] int wake_ = -1; ///< on macOS the queue at exit_ wakes as well
    int failure_ = 0;
};

} // namespace Halvorn

#pragma once
// A small process beside the application that ends the children's groups when the application dies.
//
// A parent-death signal would reach the child alone, only on one system, and hang on the thread that started
// it; the tool's own children (a merge in ffmpeg) would live on. The guardian holds one end of a pipe and the
// list of the groups; when the pipe closes without a word, it ends what is left on the list. Thread-safe.

#include <memory>
#include <sys/types.h>

namespace Halvorn {

class HVGuardian {
public:
    static HVGuardian& Shared();

    /// Has the group ended should this process die.
    void Watch(pid_t group);
    /// The group has ended.
    void Forget(pid_t group);
    /// Lets the guardian go: at the end of the process, when all groups have ended.
    void Dismiss();

private:
    HVGuardian();
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace Halvorn

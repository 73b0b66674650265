#pragma once
// A small process beside the application that ends the children's groups when the application dies.
//
// A parent-death signal would reach the child alone, only on one system, and hang on the thread that started
// it; the tool's own children (a merge in ffmpeg) would live on. The guardian holds the reading end of a pipe
// and the list of the groups; when the writing end closes without a word, it ends what is left on the list.
//
// That the pipe closes with the application, it relies on the application alone having the writing end: it is
// close-on-exec, our own starts inherit nothing, and a forked copy of the application closes it. That it ends
// no stranger's group, it relies on being told of an end before the system may give the group's number to
// another one. Thread-safe.

#include <memory>

namespace Halvorn {

class HVGuardian {
public:
    static HVGuardian& Shared();

    /// Has the group ended should this process die.
    void Watch(int group);
    /// The group has ended. To be called while its number is still taken: before its leader is reaped.
    void Forget(int group);
    /// Lets the guardian go: at the end of the process, when all groups have ended.
    void Dismiss();
    /// In a forked copy of the process: closes the pipe, which is the parent's, and has the copy begin
    /// without a guardian. Does what a signal handler may.
    static void ForgetInCopy();

private:
    HVGuardian();
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace Halvorn

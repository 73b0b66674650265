#include "HVGuardian.h"
#include "HVSpawn.h"
#include "IHVLogConfig.h"

#include <atomic>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstring>
#include <exception>
#include <mutex>
#include <set>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Halvorn {

namespace {

// "+ N" puts a group on the list, "- N" takes it off; the end of the input is the application's death.
constexpr char kScript[] = R"(trap '' INT TERM HUP QUIT
g=
while read -r o p; do
  case $o in
  +) g="$g $p" ;;
  -) n=; for i in $g; do [ "$i" = "$p" ] || n="$n $i"; done; g=$n ;;
  esac
done
[ -n "$g" ] || exit 0
for i in $g; do kill -s TERM -- "-$i"; kill -s CONT -- "-$i"; done
sleep 2
for i in $g; do kill -s KILL -- "-$i"; done)";

std::atomic<HVGuardian*> gGuardian = nullptr;
/// In a forked copy: what it must neither use nor destroy, held so that no leak checker reports it.
std::atomic<HVGuardian const*> gGuardianOfParent = nullptr;

void LogFailure(int error) {
    if (error != 0)
        IHVLogConfig::Printf(IHVLogConfig::LogLevelWarning,
                             "Can't start the guardian of the child processes: %s", std::strerror(error));
}

} // namespace

struct HVGuardian::State {
    std::mutex mutex;
    std::set<int> groups;
    HVDescriptor pipe;
    int pid = -1;

    /// One line, written at once or not at all, and without an allocation.
    bool Tell(char what, int group) const {
        char line[24] = {what, ' '};
        auto const end = std::to_chars(line + 2, line + sizeof line - 1, group).ptr;
        *end = '\n';
        return pipe.Valid() &&
               WriteQuietly(pipe.Get(), std::string_view(line, static_cast<std::size_t>(end + 1 - line)));
    }

    /// A new guardian with the whole list, in the place of one that died or does not read. 0 or an error
    /// number.
    int Start() {
        // The old one would take the end of its pipe for the application's death, and end the groups.
        if (pid > 0 && waitpid(pid, nullptr, WNOHANG) == 0) {
            kill(pid, SIGKILL);
            waitpid(pid, nullptr, 0);
        }
        pid = -1;
        pipe.Reset();
        HVPipe ends;
        HVSpawnRequest request{"/bin/sh", {"-c", kScript}, ChildEnvironment({}), -1, -1, -1};
        int error = ends.Open();
        request.input = ends.read.Get();
        if (error == 0)
            error = Spawn(request, pid);
        if (error != 0) {
            pid = -1;
            return error;
        }
        // A guardian that does not read must not hold up the start of a child.
        (void)fcntl(ends.write.Get(), F_SETFL, O_NONBLOCK);
        pipe = std::move(ends.write);
        for (int const group : groups)
            Tell('+', group);
        return 0;
    }
};

HVGuardian::HVGuardian() : state_(std::make_unique<State>()) {}

HVGuardian& HVGuardian::Shared() {
    if (HVGuardian* const guardian = gGuardian)
        return *guardian;
    // Never destroyed: children may be started until the very end.
    std::unique_ptr<HVGuardian> fresh(new HVGuardian); // NOLINT: the constructor is private
    HVGuardian* expected = nullptr;
    if (gGuardian.compare_exchange_strong(expected, fresh.get()))
        expected = fresh.release();
    return *expected;
}

void HVGuardian::Watch(int group) {
    int error = 0;
    {
        std::lock_guard const lock(state_->mutex);
        state_->groups.insert(group);
        if (!state_->Tell('+', group))
            error = state_->Start();
    }
    LogFailure(error);
}

void HVGuardian::Forget(int group) {
    int error = 0;
    try {
        std::lock_guard const lock(state_->mutex);
        // Without room in the pipe the guardian would still have the group on its list.
        if (state_->groups.erase(group) != 0 && !state_->Tell('-', group) && state_->pipe.Valid())
            error = state_->Start();
    } catch (std::exception const&) { // no memory for another guardian: this one stays as it is
        error = ENOMEM;
    }
    LogFailure(error);
}

void HVGuardian::Dismiss() {
    std::lock_guard const lock(state_->mutex);
    state_->pipe.Reset();
    if (state_->pid > 0)
        waitpid(state_->pid, nullptr, WNOHANG);
}

void HVGuardian::ForgetInCopy() {
    // What was there stays in memory: another thread of the parent may have been about to change it.
    HVGuardian const* const parents = gGuardian.exchange(nullptr);
    if (parents == nullptr)
        return;
    gGuardianOfParent = parents;
    if (int const pipe = parents->state_->pipe.Get(); pipe >= 0)
        close(pipe);
}

} // namespace Halvorn

#include "HVGuardian.h"
#include "HVSpawn.h"
#include "IHVLogConfig.h"

#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <set>
#include <sys/wait.h>

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
for i in $g; do kill -s TERM -- "-$i"; done
sleep 2
for i in $g; do kill -s KILL -- "-$i"; done)";

} // namespace

struct HVGuardian::State {
    std::mutex mutex;
    std::set<pid_t> groups;
    HVDescriptor pipe;
    pid_t pid = -1;

    bool Tell(char const* what, pid_t group) {
        return pipe.Valid() && WriteQuietly(pipe.Get(), what + std::to_string(group) + "\n");
    }

    void Start() {
        // One that no longer reads would take the end of its pipe for ours, and end the groups.
        if (pid > 0 && waitpid(pid, nullptr, WNOHANG) == 0) {
            kill(pid, SIGKILL);
            waitpid(pid, nullptr, 0);
        }
        pid = -1;
        pipe.Reset();
        HVPipe ends;
        HVSpawnRequest request{"/bin/sh", {"-c", kScript}, ChildEnvironment({}), -1, -1, -1};
        if (!ends.Open())
            return;
        request.input = ends.read.Get();
        if (int const error = Spawn(request, pid); error != 0) {
            pid = -1;
            IHVLogConfig::Printf(IHVLogConfig::LogLevelWarning,
                                 "Can't start the guardian of the child processes: %s", std::strerror(error));
            return;
        }
        (void)fcntl(ends.write.Get(), F_SETFL, O_NONBLOCK);
        pipe = std::move(ends.write);
        for (pid_t const group : groups)
            Tell("+ ", group);
    }
};

HVGuardian::HVGuardian() : state_(std::make_unique<State>()) {}

HVGuardian& HVGuardian::Shared() {
    static auto* guardian = new HVGuardian; // never destroyed: children may be started until the very end
    return *guardian;
}

void HVGuardian::Watch(pid_t group) {
    std::lock_guard const lock(state_->mutex);
    state_->groups.insert(group);
    if (!state_->Tell("+ ", group))
        state_->Start();
}

void HVGuardian::Forget(pid_t group) {
    std::lock_guard const lock(state_->mutex);
    state_->groups.erase(group);
    state_->Tell("- ", group);
}

void HVGuardian::Dismiss() {
    std::lock_guard const lock(state_->mutex);
    state_->pipe.Reset();
    if (state_->pid > 0)
        waitpid(state_->pid, nullptr, WNOHANG);
}

} // namespace Halvorn

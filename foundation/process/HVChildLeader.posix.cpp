#include "HVChildLeader.h"

#include <cerrno>

#include <sys/wait.h>

namespace Halvorn {

namespace {

class SpawnedLeader final : public HVChildLeader {
public:
    State Look() override {
        // It is looked at and not reaped: as long as it is defunct, its number stays the group's.
        siginfo_t info{};
        int const result = waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT);
        if (result != 0 && errno == ECHILD)
            return State::ReapedByOther;
        return result == 0 && info.si_pid == pid ? State::Ended : State::Running;
    }
    bool Reap(int& status) override { return ReapGroup(pid, status); }

    int pid = -1;
};

class SpawnSource final : public HVChildSource {
public:
    int Start(HVSpawnRequest const& request, int& pid, std::unique_ptr<HVChildLeader>& leader) override {
        // Made first: without memory there is no child.
        auto made = std::make_unique<SpawnedLeader>();
        if (int const error = Spawn(request, pid); error != 0)
            return error;
        made->pid = pid;
        leader = std::move(made);
        return 0;
    }
};

} // namespace

bool HVChildLeader::ReapGroup(int group, int& status) {
    int word = 0;
    bool found = false;
    for (int reaped = 0; (reaped = waitpid(-group, &word, WNOHANG)) > 0;) {
        if (reaped != group)
            continue;
        status = word;
        found = true;
    }
    return found;
}

HVChildSource& HVChildSource::Spawning() {
    static auto* const source =
        new SpawnSource; // never destroyed: children may be started until the very end
    return *source;
}

} // namespace Halvorn

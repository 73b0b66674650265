#include "HVForkLanes.h"

#include "HVForkServer.h"
#include "HVProcessEnd.h"

#include <algorithm>
#include <list>
#include <mutex>
#include <utility>
#include <vector>

namespace Halvorn {

namespace {

/// A process that waits says at once whether it takes a run, and ends at once.
constexpr auto kAnswerLimit = std::chrono::milliseconds(2000);

struct Kept {
    HVForkLanes const* owner;
    std::unique_ptr<HVForkedProcess> forked;
};

/// All that wait, of all lanes: a forked copy of this process has to close what it has of them.
struct Waiting {
    std::mutex mutex; // guards what follows
    std::list<Kept> kept;
    std::list<Kept> parents; ///< in a forked copy
};

Waiting& AllWaiting() {
    static auto* const waiting = new Waiting; // never destroyed: tasks may end until the very end
    return *waiting;
}

void LockForFork() {
    AllWaiting().mutex.lock();
}

void UnlockAfterFork() {
    AllWaiting().mutex.unlock();
}

void ForgetInCopy() {
    Waiting& waiting = AllWaiting();
    for (auto const& one : waiting.kept)
        one.forked->CloseInCopy();
    waiting.parents.splice(waiting.parents.begin(), waiting.kept);
    waiting.mutex.unlock();
}

std::string Settings(HVSpawnRequest const& request) {
    std::string text = request.exe;
    for (std::size_t i = 0; i + 1 < request.args.size(); ++i)
        text += '\0' + request.args[i];
    return text;
}

} // namespace

HVForkLanes::HVForkLanes() {
    static bool const forkIsHandled =
        (SetForkFunctions(HVForkPlace::ForkLanes, {LockForFork, UnlockAfterFork, ForgetInCopy}), true);
    static_cast<void>(forkIsHandled);
}

HVForkLanes::~HVForkLanes() {
    std::vector<std::unique_ptr<HVForkedProcess>> last;
    while (auto forked = Take({})) {
        forked->Dismiss(); // all at once
        last.push_back(std::move(forked));
    }
    auto const limit = std::chrono::steady_clock::now() + kAnswerLimit;
    for (auto const& forked : last)
        forked->End(limit);
}

std::unique_ptr<HVForkedProcess> HVForkLanes::Take(std::string const& settings) {
    Waiting& waiting = AllWaiting();
    std::lock_guard const lock(waiting.mutex);
    auto const find = [&](auto const& fits) {
        return std::find_if(waiting.kept.begin(), waiting.kept.end(), fits);
    };
    auto place = find([&](Kept const& one) { return one.owner == this && one.forked->settings == settings; });
    if (place == waiting.kept.end())
        place = find([this](Kept const& one) { return one.owner == this; });
    if (place == waiting.kept.end())
        return nullptr;
    auto forked = std::move(place->forked);
    waiting.kept.erase(place);
    return forked;
}

void HVForkLanes::Keep(std::unique_ptr<HVForkedProcess> forked) {
    std::list<Kept> one;
    one.push_back({this, std::move(forked)});
    Waiting& waiting = AllWaiting();
    std::lock_guard const lock(waiting.mutex);
    waiting.kept.splice(waiting.kept.end(), one);
}

HVForkAnswer HVForkLanes::Start(std::shared_ptr<HVForkServer> const& server, HVSpawnRequest const& request,
                                int& pid, std::unique_ptr<HVChildLeader>& leader, std::string& reason) {
    std::string settings = Settings(request);
    // One that waits is used or ended: there are never more than runs at once.
    if (auto forked = Take(settings)) {
        auto const limit = std::chrono::steady_clock::now() + kAnswerLimit;
        if (forked->server.lock() == server && forked->settings == settings &&
            forked->Begin(request, limit, reason) == HVForkAnswer::Started) {
            pid = forked->pid;
            leader = LeaderOfFork(std::move(forked), weak_from_this());
            return HVForkAnswer::Started;
        }
        forked->Dismiss();
        forked->End(limit);
    }
    std::unique_ptr<HVForkedProcess> fresh;
    auto const answer = server->Fork(request, true, fresh, reason);
    if (answer == HVForkAnswer::Started) {
        fresh->server = server;
        fresh->settings = std::move(settings);
        pid = fresh->pid;
        leader = LeaderOfFork(std::move(fresh), weak_from_this());
    }
    return answer;
}

} // namespace Halvorn

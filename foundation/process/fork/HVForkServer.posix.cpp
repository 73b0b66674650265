#include "HVForkServer.h"

#include "HVChildRegistry.h"
#include "HVOwnProcess.h"
#include "IHVLogConfig.h"

#include <algorithm>
#include <charconv>
#include <csignal>
#include <cstdint>
#include <exception>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Halvorn {

namespace {

using Clock = std::chrono::steady_clock;

/// A fork takes milliseconds; on a machine that is overloaded a run does better to wait than to start anew.
constexpr auto kForkLimit = std::chrono::milliseconds(2000);
/// The settings go into an empty buffer.
constexpr auto kSettingsLimit = std::chrono::milliseconds(200);
using Fields = std::vector<std::string>;

} // namespace

int HVForkServer::Start(HVChildSetup setup, unsigned int idleSeconds, std::string const& merger,
                        std::shared_ptr<HVForkServer>& server) {
    Fields settings{std::to_string(idleSeconds), merger};
    AppendForkList(settings, ChildEnvironment(setup.runtimePath, setup.pythonPath));
    HVSocketPair sockets;
    if (int const error = sockets.Open(); error != 0)
        return error;
    setup.input = sockets.theirs.Get();
    auto started = std::make_shared<HVForkServer>(std::move(sockets.ours));
    if (int const error = HVChildRegistry::Shared().Start(std::move(setup), started->child_); error != 0)
        return error;
    // A child that takes nothing is found out when it is asked for a fork.
    SendText(started->socket_.Get(), ForkMessage(settings), {}, Clock::now() + kSettingsLimit);
    server = std::move(started);
    return 0;
}

HVForkServer::~HVForkServer() {
    Retire();
}

HVForkServer::State HVForkServer::Look() {
    std::lock_guard const lock(mutex_);
    std::string line;
    while (state_ == State::Loading || state_ == State::Ready) {
        auto const received = ReceiveLine(socket_.Get(), received_, line, Clock::now());
        if (received == HVReceived::Silence)
            break;
        if (received == HVReceived::Closed)
            state_ = State::Died;
        else
            Hear(line);
    }
    return state_;
}

void HVForkServer::Hear(std::string const& line) {
    constexpr std::string_view kNo = "no ";
    if (line == "ready") {
        state_ = State::Ready;
    } else if (line == "rest") {
        state_ = State::Rested;
    } else if (line == "loaded") {
        loaded_ = true;
    } else if (line == "warm") {
        complete_ = true;
    } else if (line.compare(0, kNo.size(), kNo) == 0) {
        state_ = State::Refused;
        reason_ = line.substr(kNo.size());
    }
}

bool HVForkServer::Loaded() const {
    std::lock_guard const lock(mutex_);
    return loaded_;
}

bool HVForkServer::Complete() const {
    std::lock_guard const lock(mutex_);
    return complete_;
}

std::string HVForkServer::Reason() const {
    std::lock_guard const lock(mutex_);
    return reason_;
}

HVForkAnswer HVForkServer::Fork(HVSpawnRequest const& request, bool stays,
                                std::unique_ptr<HVForkedProcess>& forked, std::string& reason) const {
    auto const limit = Clock::now() + kForkLimit;
    HVSocketPair start;
    HVSocketPair status;
    if (start.Open() != 0 || status.Open() != 0) {
        reason = "busy: this process has too many open files";
        return HVForkAnswer::Refused;
    }
    auto made = std::make_unique<HVForkedProcess>(stays, std::move(start.ours), std::move(status.ours));
    // Some systems lose a descriptor under way that its sender has closed: all stay open until the fork
    // answers.
    if (!SendText(socket_.Get(), stays ? "s" : "r", {start.theirs.Get(), status.theirs.Get()}, limit))
        return HVForkAnswer::Silent;
    auto const answer = made->Begin(request, limit, reason, socket_.Get());
    if (answer == HVForkAnswer::Started)
        forked = std::move(made);
    return answer;
}

HVForkAnswer HVForkServer::Fork(HVSpawnRequest const& request, int& pid,
                                std::unique_ptr<HVChildLeader>& leader, std::string& reason) const {
    std::unique_ptr<HVForkedProcess> forked;
    auto const answer = Fork(request, false, forked, reason);
    if (answer == HVForkAnswer::Started) {
        pid = forked->pid;
        leader = LeaderOfFork(std::move(forked), {});
    }
    return answer;
}

void HVForkServer::Retire() {
    // Not closed: another thread may be about to use it.
    shutdown(socket_.Get(), SHUT_RDWR);
}

void HVForkServer::Kill() {
    Retire();
    if (child_ != nullptr)
        child_->Terminate();
}

void HVForkServer::CloseInCopy() const {
    close(socket_.Get());
}

} // namespace Halvorn

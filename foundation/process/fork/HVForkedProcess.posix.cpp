#include "HVForkedProcess.h"

#include "HVForkLanes.h"
#include "HVOwnProcess.h"
#include "IHVLogConfig.h"

#include <algorithm>
#include <charconv>
#include <csignal>
#include <cstdint>
#include <exception>
#include <utility>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Halvorn {

namespace {

using Clock = std::chrono::steady_clock;
using Fields = std::vector<std::string>;

/// The server may be about to fork, or to load something.
constexpr auto kReapLimit = std::chrono::milliseconds(2000);
/// From the kill to the end.
constexpr int kKillMilliseconds = 1000;

std::string RequestMessage(HVSpawnRequest const& request, std::string const& folder, int mask) {
    Fields fields{folder, std::to_string(mask)};
    AppendForkList(fields, request.environment);
    Fields args{request.exe};
    args.insert(args.end(), request.args.begin(), request.args.end());
    AppendForkList(fields, args);
    return ForkMessage(fields);
}

/// The number behind the word with which the line begins; false when it begins otherwise.
bool NumberBehind(std::string_view word, std::string const& line, int& number) {
    return line.compare(0, word.size(), word) == 0 &&
           std::from_chars(line.data() + word.size(), line.data() + line.size(), number).ec == std::errc();
}

bool WaitForEnd(HVExitNotifier const& notifier, int milliseconds) {
    pollfd polled{notifier.Descriptors(false)[0], POLLIN, 0};
    return poll(&polled, 1, milliseconds) > 0;
}

class ForkLeader final : public HVChildLeader {
public:
    ForkLeader(std::unique_ptr<HVForkedProcess> forked, std::weak_ptr<HVForkLanes> lanes)
        : forked_(std::move(forked)), lanes_(std::move(lanes)), later_(forked_->runs > 1) {}

    State Look() override {
        if (!done_ && forked_->start.Valid())
            Hear();
        return done_ || forked_->HasEnded() ? State::Ended : State::Running;
    }

    int Descriptor() const override { return done_ ? -1 : forked_->start.Get(); }

    bool Reap(int& status) override {
        if (!done_)
            return forked_->Reap(status, Clock::now() + kReapLimit);
        status = 0;
        return true;
    }

    bool Later() const override { return later_; }

    void Release(bool untouched) override {
        if (!done_)
            return;
        if (auto const lanes = lanes_.lock(); lanes != nullptr && untouched) {
            lanes->Keep(std::move(forked_));
            return;
        }
        forked_->Dismiss();
        // What was sent a signal may have been halted by it.
        forked_->End(untouched ? Clock::now() + kReapLimit : Clock::now());
    }

    void CloseInCopy() const override {
        if (forked_ != nullptr)
            forked_->CloseInCopy();
    }

private:
    void Hear() {
        std::string line;
        auto const heard = ReceiveLine(forked_->start.Get(), forked_->received, line, Clock::now());
        done_ = heard == HVReceived::Line && line == "done";
        // One that has gone its own way says no more, and is polled no more.
        if (!done_ && heard != HVReceived::Silence)
            forked_->start.Reset();
    }

    std::unique_ptr<HVForkedProcess> forked_; ///< empty when another run may have it
    std::weak_ptr<HVForkLanes> const lanes_;
    bool const later_;
    bool done_ = false; ///< the run, while the process stays
};

} // namespace

void AppendForkList(Fields& fields, Fields const& texts) {
    fields.push_back(std::to_string(texts.size()));
    fields.insert(fields.end(), texts.begin(), texts.end());
}

std::string ForkMessage(Fields const& fields) {
    std::string body;
    for (auto const& field : fields) {
        body += field;
        body += '\0';
    }
    body.pop_back();
    auto const size = static_cast<std::uint32_t>(body.size());
    return std::string(reinterpret_cast<char const*>(&size), sizeof size) + body; // NOLINT: bytes of a number
}

HVForkedProcess::HVForkedProcess(bool stayingOne, HVDescriptor startSocket, HVDescriptor statusSocket)
    : stays(stayingOne), start(std::move(startSocket)), status(std::move(statusSocket)) {}

HVForkAnswer HVForkedProcess::Begin(HVSpawnRequest const& request, HVTimeLimit limit, std::string& reason,
                                    int watched) {
    std::string const folder = CurrentFolder();
    int const mask = CurrentUmask();
    if (folder.empty() || mask < 0) {
        reason = "busy: this process can't tell its state";
        return HVForkAnswer::Refused;
    }
    // A refusal may be there before all of it is sent.
    SendText(start.Get(), RequestMessage(request, folder, mask), {request.output, request.error}, limit);
    std::string line;
    if (ReceiveLine(start.Get(), received, line, limit, watched) != HVReceived::Line)
        return HVForkAnswer::Silent;
    int number = -1;
    if (!NumberBehind("up ", line, number) || number <= 1 || (runs > 0 && number != pid)) {
        reason = line.substr(std::min<std::size_t>(line.size(), 3));
        return HVForkAnswer::Refused;
    }
    // Where the system does not tell the end of others' children, nobody else does before it is reaped.
    if (runs == 0 && (notifier.Failure() != 0 || !notifier.Watch(number))) {
        reason = "impossible: the system does not tell the end of a run.";
        return HVForkAnswer::Refused;
    }
    pid = number;
    if (!SendText(start.Get(), "g", {}, limit))
        return HVForkAnswer::Silent;
    ++runs;
    if (!stays)
        start.Reset();
    return HVForkAnswer::Started;
}

bool HVForkedProcess::HasEnded() const {
    return WaitForEnd(notifier, 0);
}

bool HVForkedProcess::Reap(int& word, HVTimeLimit limit) const {
    // Those that it has left behind, then itself.
    if (HVChildLeader::ReapGroup(pid, word))
        return true;
    std::string rest;
    std::string line;
    int code = -1;
    try {
        SendText(status.Get(), "w\n", {}, limit);
        while (ReceiveLine(status.Get(), rest, line, limit) == HVReceived::Line) {
            if (NumberBehind("ended ", line, word))
                return true;
            NumberBehind("code ", line, code);
        }
    } catch (std::exception const& failure) {
        IHVLogConfig::Printf(IHVLogConfig::LogLevelWarning, "The end of a run is lost: %s", failure.what());
    }
    // The server is gone, or hangs: the run's own word counts.
    word = code << 8;
    return code >= 0;
}

void HVForkedProcess::End(HVTimeLimit limit) const {
    // It is the server's child and not reaped before this asks for it: the number is its own.
    auto const left = std::chrono::duration_cast<std::chrono::milliseconds>(limit - Clock::now()).count();
    if (!WaitForEnd(notifier, static_cast<int>(std::max<long long>(0, left)))) {
        kill(-pid, SIGKILL);
        WaitForEnd(notifier, kKillMilliseconds);
    }
    int word = 0;
    Reap(word, std::max(limit, Clock::now() + std::chrono::milliseconds(kKillMilliseconds)));
}

void HVForkedProcess::CloseInCopy() const {
    notifier.CloseInCopy();
    for (int const fd : {start.Get(), status.Get()})
        if (fd >= 0)
            close(fd);
}

std::unique_ptr<HVChildLeader> LeaderOfFork(std::unique_ptr<HVForkedProcess> forked,
                                            std::weak_ptr<HVForkLanes> lanes) {
    return std::make_unique<ForkLeader>(std::move(forked), std::move(lanes));
}

} // namespace Halvorn

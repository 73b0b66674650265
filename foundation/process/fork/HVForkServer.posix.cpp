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
/// The server may be about to fork, or to load something.
constexpr auto kReapLimit = std::chrono::milliseconds(2000);

using Fields = std::vector<std::string>;

void AppendList(Fields& fields, Fields const& texts) {
    fields.push_back(std::to_string(texts.size()));
    fields.insert(fields.end(), texts.begin(), texts.end());
}

std::string Message(Fields const& fields) {
    std::string body;
    for (auto const& field : fields) {
        body += field;
        body += '\0';
    }
    body.pop_back();
    auto const size = static_cast<std::uint32_t>(body.size());
    return std::string(reinterpret_cast<char const*>(&size), sizeof size) + body; // NOLINT: bytes of a number
}

std::string RequestMessage(HVSpawnRequest const& request, std::string const& folder, int mask) {
    Fields fields{folder, std::to_string(mask)};
    AppendList(fields, request.environment);
    Fields args{request.exe};
    args.insert(args.end(), request.args.begin(), request.args.end());
    AppendList(fields, args);
    return Message(fields);
}

/// The number behind the word with which the line begins; false when it begins otherwise.
bool NumberBehind(std::string_view word, std::string const& line, int& number) {
    return line.compare(0, word.size(), word) == 0 &&
           std::from_chars(line.data() + word.size(), line.data() + line.size(), number).ec == std::errc();
}

class ForkLeader final : public HVChildLeader {
public:
    explicit ForkLeader(HVDescriptor status) : status_(std::move(status)) {}

    /// False when the system does not tell the end of others' children: nobody else does before it is reaped.
    bool Watch(int pid) {
        pid_ = pid;
        return notifier_.Failure() == 0 && notifier_.Watch(pid);
    }

    State Look() override {
        pollfd polled{notifier_.Descriptors(false)[0], POLLIN, 0};
        return poll(&polled, 1, 0) > 0 ? State::Ended : State::Running;
    }

    bool Reap(int& status) override {
        // Those that it has left behind, then itself.
        bool known = ReapGroup(pid_, status);
        try {
            known = known || Ask(status);
        } catch (std::exception const& failure) {
            IHVLogConfig::Printf(IHVLogConfig::LogLevelWarning, "The end of a run is lost: %s",
                                 failure.what());
        }
        return known;
    }

    void CloseInCopy() const override {
        notifier_.CloseInCopy();
        close(status_.Get());
    }

private:
    bool Ask(int& status) const {
        auto const limit = Clock::now() + kReapLimit;
        SendText(status_.Get(), "w\n", {}, limit);
        std::string rest;
        std::string line;
        int code = -1;
        while (ReceiveLine(status_.Get(), rest, line, limit) == HVReceived::Line) {
            if (NumberBehind("ended ", line, status))
                return true;
            NumberBehind("code ", line, code);
        }
        // The server is gone, or hangs: the run's own word counts.
        status = code << 8;
        return code >= 0;
    }

    HVDescriptor const status_;
    HVExitNotifier notifier_;
    int pid_ = -1;
};

} // namespace

int HVForkServer::Start(HVChildSetup setup, unsigned int idleSeconds, std::string const& merger,
                        std::shared_ptr<HVForkServer>& server) {
    Fields settings{std::to_string(idleSeconds), merger};
    AppendList(settings, ChildEnvironment(setup.runtimePath, setup.pythonPath));
    HVSocketPair sockets;
    if (int const error = sockets.Open(); error != 0)
        return error;
    setup.input = sockets.theirs.Get();
    auto started = std::make_shared<HVForkServer>(std::move(sockets.ours));
    if (int const error = HVChildRegistry::Shared().Start(std::move(setup), started->child_); error != 0)
        return error;
    // A child that takes nothing is found out when it is asked for a fork.
    SendText(started->socket_.Get(), Message(settings), {}, Clock::now() + kSettingsLimit);
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
    } else if (line == "warm") {
        complete_ = true;
    } else if (line.compare(0, kNo.size(), kNo) == 0) {
        state_ = State::Refused;
        reason_ = line.substr(kNo.size());
    }
}

bool HVForkServer::Complete() const {
    std::lock_guard const lock(mutex_);
    return complete_;
}

std::string HVForkServer::Reason() const {
    std::lock_guard const lock(mutex_);
    return reason_;
}

HVForkServer::Answer HVForkServer::Fork(HVSpawnRequest const& request, int& pid,
                                        std::unique_ptr<HVChildLeader>& leader, std::string& reason) {
    auto const limit = Clock::now() + kForkLimit;
    std::string const folder = CurrentFolder();
    int const mask = CurrentUmask();
    HVSocketPair start;
    HVSocketPair status;
    if (folder.empty() || mask < 0 || start.Open() != 0 || status.Open() != 0) {
        reason = "busy: this process can't tell its state, or has too many open files";
        return Answer::Refused;
    }
    auto made = std::make_unique<ForkLeader>(std::move(status.ours));
    std::string line;
    std::string rest;
    // Some systems lose a descriptor under way that its sender has closed: all stay open until the fork
    // answers.
    if (!SendText(socket_.Get(), "r", {start.theirs.Get(), status.theirs.Get()}, limit))
        return Answer::Silent;
    // A refusal may be there before all of it is sent.
    SendText(start.ours.Get(), RequestMessage(request, folder, mask), {request.output, request.error}, limit);
    if (ReceiveLine(start.ours.Get(), rest, line, limit, socket_.Get()) != HVReceived::Line)
        return Answer::Silent;
    int number = -1;
    if (!NumberBehind("up ", line, number) || number <= 1) {
        reason = line.substr(std::min<std::size_t>(line.size(), 3));
        return Answer::Refused;
    }
    if (!made->Watch(number)) {
        reason = "impossible: the system does not tell the end of a run.";
        return Answer::Refused;
    }
    if (!SendText(start.ours.Get(), "g", {}, limit))
        return Answer::Silent;
    pid = number;
    leader = std::move(made);
    return Answer::Started;
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

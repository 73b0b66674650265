#include "HVWarmTool.h"

#include "HVExtension.h"
#include "HVFileSystem.h"
#include "HVLateLog.h"
#include "HVOwnProcess.h"
#include "HVProcessEnd.h"
#include "HVRunExtension.h"
#include "HVToolInForce.h"
#include "IHVLogConfig.h"

#include <utility>

namespace Halvorn {

namespace {

constexpr char kFolder[] = ".tool-warm";
/// In each folder of --plugin-dirs there is one of each plugin's.
constexpr char kPlace[] = ".tool-warm/reelhaul";
/// So often in a row it may die, or be of no use, before it is left.
constexpr unsigned int kMostFailures = 3;
/// One that has served so many runs before it died begins a new count: an application may run for weeks.
constexpr unsigned int kGoodService = 20;
constexpr unsigned int kSecondsPerMinute = 60;

void LogOutput(std::shared_ptr<IHVData const> const& data) {
    if (data != nullptr)
        IHVLogConfig::DebugPrintf("The warm tool prints: %s", data->ToText().c_str());
}

/// The first word of a refusal says what is to be done.
bool Asks(std::string const& reason, std::string_view what) {
    return reason.compare(0, what.size(), what) == 0;
}

std::string BehindColon(std::string const& reason) {
    auto const colon = reason.find(": ");
    return colon == std::string::npos ? reason : reason.substr(colon + 2);
}

} // namespace

HVWarmTool::HVWarmTool() {
    SetForkFunctions(HVForkPlace::WarmTool, {LockForFork, UnlockAfterFork, ForgetInCopy});
}

HVWarmTool& HVWarmTool::Shared() {
    static auto* const tool = new HVWarmTool; // never destroyed: runs may be started until the very end
    return *tool;
}

void IHVWarmTool::TurnOn(unsigned int idleMinutes) {
    HVWarmTool::Shared().TurnOn(idleMinutes * kSecondsPerMinute);
}

void IHVWarmTool::TurnOff() {
    HVWarmTool::Shared().TurnOff();
}

IHVWarmTool::Status IHVWarmTool::GetStatus() {
    return HVWarmTool::Shared().GetStatus();
}

void HVWarmTool::LockForFork() {
    Shared().mutex_.lock();
}

void HVWarmTool::UnlockAfterFork() {
    Shared().mutex_.unlock();
}

void HVWarmTool::ForgetInCopy() {
    HVWarmTool& tool = Shared();
    if (tool.server_ != nullptr)
        tool.server_->CloseInCopy();
    tool.parents_ = std::move(tool.server_);
    tool.mutex_.unlock();
}

HVWarmTool::Version HVWarmTool::VersionInForce() {
    Version version{ToolInForce(), MergerInForce(), {}};
    version.identity =
        version.tool + '\n' + FileIdentity(version.tool) + '\n' + version.merger + '\n' + UserIdentity();
    return version;
}

void HVWarmTool::TurnOn(unsigned int idleSeconds) {
    auto version = VersionInForce();
    HVLoggingLock const lock(mutex_);
    on_ = true;
    idleSeconds_ = idleSeconds;
    StartIfMissing(std::move(version));
}

void HVWarmTool::TurnOff() {
    HVLoggingLock const lock(mutex_);
    on_ = false;
    Drop();
}

void HVWarmTool::Refresh() {
    auto version = VersionInForce();
    HVLoggingLock const lock(mutex_);
    if (server_ != nullptr && !(version == version_))
        Drop();
    StartIfMissing(std::move(version));
}

IHVWarmTool::Status HVWarmTool::GetStatus() {
    HVLoggingLock const lock(mutex_);
    if (!on_)
        return {};
    if (Look())
        return {IHVWarmTool::State::Ready, server_->Complete(), {}};
    if (!reason_.empty())
        return {IHVWarmTool::State::NotPossible, false, reason_};
    return {server_ == nullptr ? IHVWarmTool::State::Resting : IHVWarmTool::State::Warming, false, {}};
}

bool HVWarmTool::IsLoading() {
    HVLoggingLock const lock(mutex_);
    Look();
    return on_ && server_ != nullptr && !server_->Loaded();
}

bool HVWarmTool::IsOn() const {
    std::lock_guard const lock(mutex_);
    return on_;
}

int HVWarmTool::Start(HVSpawnRequest const& request, int& pid, std::unique_ptr<HVChildLeader>& leader) {
    return Start(request, nullptr, pid, leader);
}

int HVWarmTool::Start(HVSpawnRequest const& request, HVForkLanes* lanes, int& pid,
                      std::unique_ptr<HVChildLeader>& leader) {
    // No start waits for another one's: hundreds may come at once.
    if (!IsOn())
        return Spawning().Start(request, pid, leader);
    auto version = VersionInForce();
    if (request.exe != version.tool)
        return Spawning().Start(request, pid, leader);
    if (auto const server = ServerFor(version)) {
        std::string reason;
        auto const answer = lanes == nullptr ? server->Fork(request, pid, leader, reason)
                                             : lanes->Start(server, request, pid, leader, reason);
        if (answer == HVForkAnswer::Started) {
            HVLoggingLock const lock(mutex_);
            runs_ += server == server_ ? 1U : 0U;
            return 0;
        }
        HandleFailure(server, answer, reason);
    }
    int const error = Spawning().Start(request, pid, leader);
    // Behind the start of the run, which is not to wait for it.
    HVLoggingLock const lock(mutex_);
    StartIfMissing(std::move(version));
    return error;
}

/// The one that can fork now; empty when there is none.
std::shared_ptr<HVForkServer> HVWarmTool::ServerFor(Version const& version) {
    HVLoggingLock const lock(mutex_);
    if (server_ != nullptr && !(version == version_)) {
        IHVLogConfig::Printf(IHVLogConfig::LogLevelDefault, "The tool has changed, and is loaded anew");
        DropChanged();
    }
    return Look() ? server_ : nullptr;
}

void HVWarmTool::HandleFailure(std::shared_ptr<HVForkServer> const& server, HVForkAnswer answer,
                               std::string const& reason) {
    IHVLogConfig::Printf(IHVLogConfig::LogLevelDefault, "The warm tool gives no run: %s",
                         reason.empty() ? "it does not answer" : reason.c_str());
    HVLoggingLock const lock(mutex_);
    if (server_ != server)
        return;
    if (answer == HVForkAnswer::Silent) {
        server->Kill();
        CountDeath();
    } else if (Asks(reason, "changed")) {
        DropChanged();
    } else if (Asks(reason, "impossible")) {
        Drop();
        GiveUp(BehindColon(reason));
    }
}

/// Whether it can fork.
bool HVWarmTool::Look() {
    if (server_ == nullptr)
        return false;
    switch (server_->Look()) {
    case HVForkServer::State::Loading:
        return false;
    case HVForkServer::State::Ready:
        ready_ = true;
        return true;
    case HVForkServer::State::Rested:
        Drop();
        return false;
    case HVForkServer::State::Refused:
        GiveUp(BehindColon(server_->Reason()));
        Drop();
        return false;
    case HVForkServer::State::Died:
        CountDeath();
        return false;
    }
    return false;
}

/// Ends it in good order: the runs that it has forked go on.
void HVWarmTool::Drop() {
    if (server_ != nullptr)
        server_->Retire();
    server_ = nullptr;
    failures_ = 0;
}

void HVWarmTool::DropChanged() {
    unsigned int const failures = failures_;
    Drop();
    if (runs_ > 0)
        return;
    // An application that changes its variables for every run would only pay for it.
    failures_ = failures;
    CountFailure("Its surroundings change from run to run.");
}

void HVWarmTool::CountDeath() {
    server_ = nullptr;
    if (runs_ >= kGoodService)
        failures_ = 0;
    if (ready_)
        CountFailure("The process that is to stay has died three times.");
    else
        GiveUp("This version of the tool does not load our extension.");
}

void HVWarmTool::CountFailure(std::string const& reason) {
    if (++failures_ == kMostFailures)
        GiveUp(reason);
}

void HVWarmTool::GiveUp(std::string const& reason) {
    reason_ = reason;
    IHVLogConfig::Printf(IHVLogConfig::LogLevelDefault, "The tool can't be kept warm: %s", reason.c_str());
}

void HVWarmTool::StartIfMissing(Version version) {
    if (!on_ || failures_ >= kMostFailures)
        return;
    Look();
    // What was not possible for one version may be for another.
    if (server_ != nullptr || (!reason_.empty() && version == version_))
        return;
    version_ = std::move(version);
    StartServer();
}

void HVWarmTool::StartServer() {
    ready_ = false;
    runs_ = 0;
    if (!IsForPython(version_.tool)) {
        GiveUp("\"" + version_.tool + "\" is no program for Python.");
        return;
    }
    reason_ = WriteExtension(kPlace, {{"reelhaul_warm.py", HVWarmToolText},
                                      {"_reelhaul_basis.py", HVWarmToolBasisText},
                                      {"_reelhaul_link.py", HVWarmToolLinkText},
                                      {"_reelhaul_load.py", HVWarmToolLoadText},
                                      {"_reelhaul_run.py", HVWarmToolRunText}});
    if (!reason_.empty())
        return;
    HVChildSetup setup;
    setup.exe = version_.tool;
    setup.args = {"--ignore-config",        "--no-plugin-dirs", "--plugin-dirs",
                  ExtensionFolder(kFolder), "--plugin-dirs",    "default"};
    setup.outputHandler = LogOutput;
    setup.errorHandler = LogOutput;
    if (int const error = HVForkServer::Start(std::move(setup), idleSeconds_, version_.merger, server_);
        error != 0)
        GiveUp("The tool can't be started: " + FileErrorReason(error));
}

} // namespace Halvorn

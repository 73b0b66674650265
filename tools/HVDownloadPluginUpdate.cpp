#include "HVCallback.h"
#include "HVDownloadPlugin.h"
#include "HVDownloadPluginNames.h"
#include "HVToolAside.h"
#include "HVToolBytecode.h"
#include "HVToolRun.h"
#include "HVToolVersion.h"
#include "IHVFileProvider.h"
#include "IHVLogConfig.h"
#include "IHVStringHelper.h"
#include "IHVThread.h"

#include <chrono>
#include <exception>
#include <stdexcept>
#include <utility>

namespace Halvorn {

namespace {

constexpr unsigned int kCancelWaitStep = 100;
constexpr std::size_t kMaxWords = 2000;
/// Far longer than the tool is silent while it downloads itself: it reports a dead connection much earlier.
constexpr unsigned int kUpdateSilence = 600'000;

/// Both streams of the tool, for a person to read; the end where there is much, since reasons come last.
std::string WordsOf(HVToolResult const& run, HVToolAside const& aside) {
    std::string words = run.startError == nullptr ? std::string() : run.startError->GetErrorMessage();
    words = IHVStringHelper::Trimmed(words + "\n" + run.output + "\n" + run.errors);
    // The copy is gone when they are read.
    for (std::size_t at = 0; (at = words.find(aside.Path(), at)) != std::string::npos;
         at += aside.Tool().size())
        words.replace(at, aside.Path().size(), aside.Tool());
    if (words.size() > kMaxWords)
        words.erase(0, words.find('\n', words.size() - kMaxWords));
    words = IHVStringHelper::Trimmed(words);
    return words.empty() ? "The tool has not changed itself and does not say why." : words;
}

std::shared_ptr<IHVError const> BodyError(char const* reason) {
    IHVLogConfig::Printf(IHVLogConfig::LogLevelError, "The update ended by an exception: %s", reason);
    return IHVError::MallocError("HVDownloadPlugin", __LINE__, "operator()", -1, "Error",
                                 "The update failed: %s", reason);
}

} // namespace

IHVDownloadPlugin::UpdateOutcome IHVDownloadPlugin::LastUpdate() {
    return HVDownloadPlugin::SharedPlugin()->Outcome();
}

IHVDownloadPlugin::UpdateOutcome HVDownloadPlugin::Outcome() const {
    std::lock_guard const lock(mutex_);
    return outcome_;
}

std::string HVDownloadPlugin::UpdatePluginTask(std::string const& exe, std::string argument) const {
    return HVToolRun(exe, {argument}).Run().output;
}

int HVDownloadPlugin::WaitCacheFuture(std::future<void>& future, unsigned int milliseconds) {
    if (!future.valid())
        return HVErrFailure;
    switch (future.wait_for(std::chrono::milliseconds(milliseconds))) {
    case std::future_status::ready:
        return HVErrSuccess;
    case std::future_status::timeout:
        return HVErrTimeout;
    default:
        return HVErrFailure;
    }
}

bool HVDownloadPlugin::IsUpdateThread() const {
    std::lock_guard const lock(mutex_);
    return updateThread_ == std::this_thread::get_id();
}

std::shared_ptr<std::future<void>> HVDownloadPlugin::UpdateFuture() const {
    std::lock_guard const lock(mutex_);
    return updateFuture_;
}

void HVDownloadPlugin::CancelUpdateLocalPlugin() {
    cancelFlag_ = true;
    auto const future = UpdateFuture();
    // The update's own thread, inside the application's function, would wait for itself.
    if (future == nullptr || IsUpdateThread())
        return;
    while (WaitCacheFuture(*future, kCancelWaitStep) != HVErrSuccess)
        event_->Wait(kCancelWaitStep);
}

void HVDownloadPlugin::UpdateLocalPlugin(UpdateFunction done) {
    bool noPath = false;
    {
        std::lock_guard const lock(mutex_);
        updateFunc_ = done;
        noPath = installPath_.empty();
    }
    if (noPath) {
        std::shared_ptr<IHVError const> const error = IHVError::MallocError(
            "HVDownloadPlugin", __LINE__, "UpdateLocalPlugin", -1, "Error", "Not set pluginInstallPath");
        ReportTo(std::move(done), error);
        return;
    }
    StartUpdate(SeedLocalCopy());
}

std::string HVDownloadPlugin::SeedLocalCopy() const {
    std::string failure;
    auto const seed = [&failure](std::string const& from, std::string const& to) {
        if (IHVFileProvider::PathFileExist(to))
            return;
        auto const error = IHVFileProvider::CpFile(from, to, true);
        // It stops nothing: the versions show what is there.
        if (!error->Succeed() && failure.empty())
            failure = error->GetErrorMessage();
    };
    seed(PluginPathFile(), LocalPluginPathFile());
    seed(FfmpegPathFile(), LocalFfmpegPathFile());
    return failure;
}

void HVDownloadPlugin::StartUpdate(std::string const& seedFailure) {
    auto const ended = std::make_shared<std::promise<void>>();
    auto earlier = std::make_shared<std::future<void>>(ended->get_future());
    {
        std::lock_guard const lock(mutex_);
        updateFuture_.swap(earlier);
    }
    // One after the other: two at once would exchange the tool under each other. But from inside the
    // application's function the earlier one is all but over, and waiting for it would never end.
    if (earlier != nullptr && !IsUpdateThread())
        earlier->wait();
    // Keeps the object alive for as long as the update runs.
    auto const thread = IHVThread::MallocThread([self = shared_from_this(), ended, seedFailure] {
        self->RunUpdate(seedFailure);
        ended->set_value();
    });
    if (auto const started = thread->Start(); !started->Succeed()) {
        TellUpdateEnd(started);
        ended->set_value();
    }
}

void HVDownloadPlugin::RunUpdate(std::string const& seedFailure) {
    {
        std::lock_guard const lock(mutex_);
        updateThread_ = std::this_thread::get_id();
    }
    std::shared_ptr<IHVError const> error;
    UpdateOutcome outcome;
    try {
        outcome = Update(seedFailure);
        error = IHVError::MallocSucceed("HVDownloadPlugin", __LINE__, "operator()");
    } catch (std::exception const& exception) {
        error = BodyError(exception.what());
        outcome.message = error->GetErrorMessage();
    }
    outcome.finished = true;
    {
        std::lock_guard const lock(mutex_);
        outcome_ = outcome;
    }
    TellUpdateEnd(error);
    std::lock_guard const lock(mutex_);
    // The system gives ids of ended threads to new ones. But not that of a later update, started from within
    // the application's function.
    if (updateThread_ == std::this_thread::get_id())
        updateThread_ = {};
}

HVDownloadPlugin::UpdateOutcome HVDownloadPlugin::Update(std::string const& seedFailure) const {
    HVToolAside::RemoveLeftovers(GetLocalPluginInstallPath());
    std::string const oldVersion = LocalPluginVersion();
    Release const release = AskForRelease();
    IHVLogConfig::Printf("oldv = %s,newv = %s", oldVersion.c_str(), release.version.c_str());
    UpdateOutcome outcome;
    std::string const path = LocalPluginPathFile();
    if (IHVFileProvider::PathFileExist(path))
        outcome.oldVersion = IHVStringHelper::Trimmed(oldVersion);
    outcome.newVersion = outcome.oldVersion;
    outcome.message = release.failure;
    if (release.failure.empty())
        outcome.offeredVersion = release.version;
    bool available = false;
    try {
        available = IsUpdateAvailable(oldVersion, release.version);
    } catch (std::logic_error const&) {
        throw std::runtime_error("the versions \"" + IHVStringHelper::Trimmed(oldVersion) + "\" and \"" +
                                 release.version + "\" can't be compared");
    }
    if (available)
        UpdateTool(path, outcome);
    if (outcome.newVersion.empty())
        outcome.message = seedFailure.empty() ? "The local tool tells no version." : seedFailure;
    else if (!outcome.changed)
        AddToolBytecode(path, path);
    return outcome;
}

void HVDownloadPlugin::UpdateTool(std::string const& tool, UpdateOutcome& outcome) {
    // The single-file tool writes its new version over the old one, in place. A full disk or a crash would
    // leave half of it, and a start in that moment would fail.
    HVToolAside const aside(tool);
    outcome.message = aside.Make();
    if (!outcome.message.empty())
        return;
    HVToolRun update(aside.Path(), {kUpdateArgument});
    update.SetLimits({0, kUpdateSilence, 0});
    auto const run = update.Run();
    std::string const version = IHVStringHelper::Trimmed(ToolVersion(aside.Path()));
    if (!version.empty() && version != outcome.oldVersion) {
        AddToolBytecode(aside.Path(), aside.Tool());
        outcome.message = aside.PutInPlace();
    } else {
        outcome.message = WordsOf(run, aside);
    }
    outcome.newVersion = IHVStringHelper::Trimmed(ToolVersion(tool));
    outcome.changed = outcome.newVersion != outcome.oldVersion;
    if (outcome.changed && !outcome.newVersion.empty())
        outcome.message.clear();
}

void HVDownloadPlugin::TellUpdateEnd(std::shared_ptr<IHVError const> const& error) {
    UpdateFunction function;
    {
        std::lock_guard const lock(mutex_);
        function = updateFunc_;
    }
    ReportTo(std::move(function), error);
}

} // namespace Halvorn

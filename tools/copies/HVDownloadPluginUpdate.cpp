#include "HVCallback.h"
#include "HVDownloadPlugin.h"
#include "HVDownloadPluginNames.h"
#include "HVToolAside.h"
#include "HVToolBytecode.h"
#include "HVToolRun.h"
#include "HVToolVersion.h"
#include "HVWarmTool.h"
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
/// In the tool's warning that it replaces itself although there is no checksum to compare with.
constexpr char const* kUnverified = "skipping verification";

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

/// How deep this thread is inside functions that were given to UpdateLocalPlugin.
thread_local int insideDone = 0;

struct InsideDone {
    InsideDone() { ++insideDone; }
    ~InsideDone() { --insideDone; }
    InsideDone(InsideDone const&) = delete;
    InsideDone& operator=(InsideDone const&) = delete;
};

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
    HVToolRun run(exe, {argument});
    run.StartAnew();
    return run.Run().output;
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

std::shared_ptr<std::future<void>> HVDownloadPlugin::LastQueuedUpdate() const {
    std::lock_guard const lock(mutex_);
    return updateFuture_;
}

void HVDownloadPlugin::CancelUpdateLocalPlugin() {
    // The application's function, called by an update, would wait for that update: for itself.
    auto const future = insideDone > 0 ? nullptr : LastQueuedUpdate();
    while (future != nullptr && WaitCacheFuture(*future, kCancelWaitStep) != HVErrSuccess) {
    }
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
    QueueUpdate(SeedLocalCopy());
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

// One after the other: two at once would exchange the tool under each other. No caller waits for its turn,
// since one that comes from the function of the update before would wait for ever.
void HVDownloadPlugin::QueueUpdate(std::string seedFailure) {
    {
        std::lock_guard const lock(mutex_);
        auto& update = queuedUpdates_.emplace_back(QueuedUpdate{std::move(seedFailure), {}});
        updateFuture_ = std::make_shared<std::future<void>>(update.ended.get_future());
        if (std::exchange(updating_, true))
            return;
    }
    // Keeps the object alive for as long as updates run.
    auto const thread = IHVThread::MallocThread([self = shared_from_this()] { self->RunQueuedUpdates(); });
    if (auto const started = thread->Start(); !started->Succeed()) {
        while (auto update = NextUpdate()) {
            TellUpdateEnd(started);
            update->ended.set_value();
        }
    }
}

std::optional<HVDownloadPlugin::QueuedUpdate> HVDownloadPlugin::NextUpdate() {
    std::lock_guard const lock(mutex_);
    updating_ = !queuedUpdates_.empty();
    if (!updating_)
        return std::nullopt;
    auto update = std::move(queuedUpdates_.front());
    queuedUpdates_.pop_front();
    return update;
}

void HVDownloadPlugin::RunQueuedUpdates() {
    while (auto update = NextUpdate()) {
        RunUpdate(update->seedFailure);
        update->ended.set_value();
    }
}

void HVDownloadPlugin::RunUpdate(std::string const& seedFailure) {
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
    HVWarmTool::Shared().Refresh();
    {
        std::lock_guard const lock(mutex_);
        outcome_ = outcome;
    }
    TellUpdateEnd(error);
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
        if (!release.version.empty() && !IsVersion(release.version))
            throw std::invalid_argument("no version");
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

void HVDownloadPlugin::UpdateTool(std::string const& tool, UpdateOutcome& outcome) const {
    // The single-file tool writes its new version over the old one, in place. A full disk or a crash would
    // leave half of it, and a start in that moment would fail.
    HVToolAside const aside(tool);
    outcome.message = aside.Make();
    if (!outcome.message.empty())
        return;
    HVToolRun update(aside.Path(), {kUpdateArgument});
    update.SetLimits({0, kUpdateSilence, 0});
    update.StartAnew();
    auto const run = update.Run();
    std::string const version = IHVStringHelper::Trimmed(ToolVersion(aside.Path()));
    if (version.empty() || version == outcome.oldVersion)
        outcome.message = WordsOf(run, aside);
    else if ((run.output + run.errors).find(kUnverified) != std::string::npos)
        outcome.message = "The tool found no checksum to verify its new version by.";
    else
        outcome.message = RefusalOf(version, outcome);
    if (!outcome.message.empty())
        return;
    AddToolBytecode(aside.Path(), aside.Tool());
    outcome.message = aside.PutInPlace();
    outcome.newVersion = IHVStringHelper::Trimmed(ToolVersion(tool));
    outcome.changed = outcome.newVersion != outcome.oldVersion;
    if (outcome.changed && !outcome.newVersion.empty())
        outcome.message.clear();
}

/// Why what the tool has made of itself can't take its place; empty when it can.
std::string HVDownloadPlugin::RefusalOf(std::string const& version, UpdateOutcome const& outcome) const {
    std::string const said = "The updated tool calls itself \"" + version + "\", which is ";
    if (!IsVersion(version))
        return said + "no version.";
    if (!IsUpdateAvailable(outcome.oldVersion, version))
        return said + "older than the one in use.";
    std::string const& offered = outcome.offeredVersion;
    // A release host that did not answer offers nothing to compare with.
    if (!offered.empty() && SplitVersionString(offered) != SplitVersionString(version))
        return said + "not the offered " + offered + ".";
    return {};
}

void HVDownloadPlugin::TellUpdateEnd(std::shared_ptr<IHVError const> const& error) {
    UpdateFunction function;
    {
        std::lock_guard const lock(mutex_);
        function = updateFunc_;
    }
    if (function)
        ReportTo(UpdateFunction([function = std::move(function)](std::shared_ptr<IHVError const> result) {
                     InsideDone const inside;
                     function(std::move(result));
                 }),
                 error);
}

} // namespace Halvorn

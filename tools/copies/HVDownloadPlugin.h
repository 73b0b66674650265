#pragma once
// The one object that knows which copy of the tools is in force, and keeps the local one current.

#include "IHVDownloadPlugin.h"

#include <atomic>
#include <deque>
#include <future>
#include <mutex>
#include <optional>
#include <vector>

namespace Halvorn {

class HVDownloadPlugin final : public IHVDownloadPlugin,
                               public std::enable_shared_from_this<HVDownloadPlugin> {
public:
    using UpdateFunction = std::function<void(std::shared_ptr<IHVError const>)>;

    /// Never destroyed, so that an update still running at the end of the process does no harm.
    static std::shared_ptr<HVDownloadPlugin>& gDownloadPlugin;
    static std::shared_ptr<HVDownloadPlugin> SharedPlugin();

    HVDownloadPlugin();

    void EnableLocalPlugin(bool enable) override;
    bool LocalPluginEnabled() const override;
    void SetLocalPluginInstallPath(std::string const& path) override;
    std::string GetLocalPluginInstallPath() const override;
    void UpdateLocalPlugin(UpdateFunction done) override;
    void CancelUpdateLocalPlugin() override;
    std::string GetLatestYtDlpVersionUrl() const override;
    bool LocalPluginIsUpToDate() const override;
    std::string LocalPluginVersion() const override;
    std::string BuiltInPluginVersion() const override;
    std::string LocalPluginPathFile() const override;
    std::string LocalFfmpegPathFile() const override;
    std::string PluginPathFile() const override;
    std::string FfmpegPathFile() const override;

    /// The latest release's version; "2024.01.01" when the release host does not answer, empty when its
    /// answer names none. Blocks.
    std::string GetLatestYtDlpVersion() const;
    /// Downloads the release file of `version` to LocalPluginUpdatePathFile. Blocks.
    std::shared_ptr<IHVError const> DownloadLatestYtDlp(std::string& version);
    /// As PluginTask, with no limit. Blocks.
    std::string UpdatePluginTask(std::string const& exe, std::string argument) const;
    /// Where DownloadLatestYtDlp puts the file, whether the folder exists or not.
    std::string LocalPluginUpdatePathFile() const;
    /// HVErrFailure for a future without a state, HVErrTimeout or HVErrSuccess else.
    int WaitCacheFuture(std::future<void>& future, unsigned int milliseconds);
    /// See IHVDownloadPlugin::LastUpdate.
    UpdateOutcome Outcome() const;

private:
    friend class IHVDownloadPlugin;
    friend struct HVDownloadPluginPeer;

    /// What the release host said.
    struct Release {
        std::string version;
        std::string failure; ///< why it said nothing
    };

    /// An update that waits for its turn or runs.
    struct QueuedUpdate {
        std::string seedFailure;
        std::promise<void> ended;
    };

    std::string PluginTask(std::string const& exe, std::string argument) const;
    std::vector<int> SplitVersionString(std::string const& text) const;
    bool IsUpdateAvailable(std::string const& oldVersion, std::string const& newVersion) const;
    std::string LocalPathFile(char const* name) const;
    Release AskForRelease() const;

    std::string SeedLocalCopy() const;
    void QueueUpdate(std::string seedFailure);
    std::optional<QueuedUpdate> NextUpdate();
    void RunQueuedUpdates();
    void RunUpdate(std::string const& seedFailure);
    UpdateOutcome Update(std::string const& seedFailure) const;
    void UpdateTool(std::string const& tool, UpdateOutcome& outcome) const;
    std::string RefusalOf(std::string const& version, UpdateOutcome const& outcome) const;
    void TellUpdateEnd(std::shared_ptr<IHVError const> const& error);
    std::shared_ptr<std::future<void>> LastQueuedUpdate() const;

    // Guards the members up to the next comment, for the moment of a copy.
    mutable std::mutex mutex_;
    std::string installPath_;
    UpdateFunction updateFunc_;
    std::shared_ptr<std::future<void>> updateFuture_; ///< of the last one queued; empty before the first
    std::deque<QueuedUpdate> queuedUpdates_;
    bool updating_ = false; ///< a thread runs what is queued
    UpdateOutcome outcome_;

    // Safe by themselves.
    std::atomic<bool> localPluginOff_;
};

} // namespace Halvorn

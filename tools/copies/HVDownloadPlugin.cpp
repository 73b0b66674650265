#include "HVDownloadPlugin.h"

#include "IHVAppSettings.h"
#include "IHVFileProvider.h"
#include "IHVTask.h"

namespace Halvorn {

namespace {

// The key's sense is opposed to its name: a stored true means that the local copy is switched off, so that it
// is in force where nothing was stored.
constexpr char const* kSettingsKey = "enableLocalPlugin";
constexpr char const* kModuleName = "Reelhaul.framework";
constexpr char const* kToolName = "yt-dlp";
constexpr char const* kMergerName = "ffmpeg";
constexpr char const* kJSRuntimeName = "deno";

/// Made at the first use, since other sources' initialisers may come before this one's.
std::shared_ptr<HVDownloadPlugin>& TheOnePlugin() {
    static auto* plugin = new std::shared_ptr<HVDownloadPlugin>(std::make_shared<HVDownloadPlugin>());
    return *plugin;
}

} // namespace

std::shared_ptr<HVDownloadPlugin>& HVDownloadPlugin::gDownloadPlugin = TheOnePlugin();

std::shared_ptr<HVDownloadPlugin> HVDownloadPlugin::SharedPlugin() {
    return TheOnePlugin();
}

std::shared_ptr<IHVDownloadPlugin> IHVDownloadPlugin::SharedDownloadPlugin() {
    return HVDownloadPlugin::SharedPlugin();
}

HVDownloadPlugin::HVDownloadPlugin() : localPluginOff_(IHVAppSettings::Shared()->GetBool(kSettingsKey)) {}

void HVDownloadPlugin::EnableLocalPlugin(bool enable) {
    localPluginOff_ = !enable;
    auto const settings = IHVAppSettings::Shared();
    settings->SetBool(!enable, kSettingsKey);
    settings->Save();
}

bool HVDownloadPlugin::LocalPluginEnabled() const {
    return !localPluginOff_;
}

void IHVDownloadPlugin::UseLocalPluginForThisProcess(bool local) {
    HVDownloadPlugin::SharedPlugin()->localPluginOff_ = !local;
}

void IHVDownloadPlugin::SuspendTools() {
    IHVTask::SuspendAll(true);
}

void IHVDownloadPlugin::ResumeTools() {
    IHVTask::SuspendAll(false);
}

void HVDownloadPlugin::SetLocalPluginInstallPath(std::string const& path) {
    std::lock_guard const lock(mutex_);
    installPath_ = path;
}

std::string HVDownloadPlugin::GetLocalPluginInstallPath() const {
    std::lock_guard const lock(mutex_);
    return installPath_;
}

std::string HVDownloadPlugin::LocalPathFile(char const* name) const {
    std::string const path = GetLocalPluginInstallPath();
    if (path.empty() || !IHVFileProvider::PathFileExist(path))
        return {};
    return IHVFileProvider::AppendPathComponent(path, name);
}

std::string HVDownloadPlugin::LocalPluginPathFile() const {
    return LocalPathFile(kToolName);
}

std::string HVDownloadPlugin::LocalFfmpegPathFile() const {
    return LocalPathFile(kMergerName);
}

std::string HVDownloadPlugin::PluginPathFile() const {
    std::string const module = IHVFileProvider::GetModulePath(kModuleName);
    return module.empty() ? module : IHVFileProvider::AppendPathComponent(module, kToolName);
}

std::string HVDownloadPlugin::FfmpegPathFile() const {
    // Without the test that the tool's path has: the system may still find a program by its name alone.
    return IHVFileProvider::AppendPathComponent(IHVFileProvider::GetModulePath(kModuleName), kMergerName);
}

std::string IHVDownloadPlugin::BuiltInJSRuntimePathFile() {
    std::string const module = IHVFileProvider::GetModulePath(kModuleName);
    if (module.empty())
        return {};
    std::string path = IHVFileProvider::AppendPathComponent(module, kJSRuntimeName);
    return IHVFileProvider::PathFileExist(path) ? path : std::string();
}

} // namespace Halvorn

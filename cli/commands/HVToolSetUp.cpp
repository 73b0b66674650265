#include "HVToolSetUp.h"

#include "HVFileAccess.h"
#include "HVRequest.h"

#include <Reelhaul/IHVDownloadPlugin.h>
#include <Reelhaul/IHVWarmTool.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace Halvorn {

namespace {

std::string Environment(char const* name) {
    char const* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

std::string Fault(std::string const& name, std::string const& path, bool named) {
    std::string const fault = ProgramFault(path);
    if (fault.empty())
        return {};
    return name + " is missing: " + fault + "; " +
           (named ? "put " + name + " there, or leave --tool out"
                  : "install Reelhaul anew, or name a folder that holds it with --tool DIR");
}

} // namespace

std::string ProgramFault(std::string const& path) {
    std::error_code ignored;
    if (path.empty() || !std::filesystem::exists(path, ignored))
        return "there is no file " + path;
    if (std::filesystem::is_directory(path, ignored) || !CanRun(path))
        return path + " can't be run";
    return {};
}

std::string LocalToolFolder(HVRequest const& request) {
    std::string folder = request.toolFolder.empty() ? Environment("REELHAUL_TOOL_DIR") : request.toolFolder;
    std::filesystem::path const fromHome = "reelhaul/tools";
    if (folder.empty()) {
        if (std::string const data = Environment("XDG_DATA_HOME"); data.starts_with('/'))
            folder = (data / fromHome).string();
        else if (std::string const home = Environment("HOME"); !home.empty())
            folder = (std::filesystem::path(home) / ".local/share" / fromHome).string();
    }
    std::error_code ignored;
    return folder.empty() ? folder : std::filesystem::absolute(folder, ignored).lexically_normal().string();
}

bool ChooseCopies(HVRequest const& request) {
    auto const plugin = IHVDownloadPlugin::SharedDownloadPlugin();
    std::string const folder = LocalToolFolder(request);
    plugin->SetLocalPluginInstallPath(folder);
    bool const local = !request.toolFolder.empty() || (plugin->LocalPluginEnabled() && !folder.empty() &&
                                                       ProgramFault(folder + "/yt-dlp").empty());
    IHVDownloadPlugin::UseLocalPluginForThisProcess(local);
    return local;
}

std::string SetUpTools(HVRequest& request) {
    auto const plugin = IHVDownloadPlugin::SharedDownloadPlugin();
    bool const local = ChooseCopies(request);
    if (request.jsRuntime == "none")
        request.jsRuntime.clear();
    else if (request.jsRuntime.empty())
        request.jsRuntime = IHVDownloadPlugin::BuiltInJSRuntimePathFile();
    return Fault("yt-dlp", local ? plugin->GetLocalPluginInstallPath() + "/yt-dlp" : plugin->PluginPathFile(),
                 !request.toolFolder.empty());
}

void WarmTool(HVRequest const& request) {
    // Until the end of the command: 0 minutes.
    if (!request.cold)
        IHVWarmTool::TurnOn(0);
}

std::string FfmpegFault(HVRequest const& request) {
    auto const plugin = IHVDownloadPlugin::SharedDownloadPlugin();
    std::string const path = plugin->LocalPluginEnabled() ? plugin->GetLocalPluginInstallPath() + "/ffmpeg"
                                                          : plugin->FfmpegPathFile();
    return Fault("ffmpeg", path, !request.toolFolder.empty());
}

} // namespace Halvorn

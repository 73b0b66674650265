#include "HVToolInForce.h"

#include "IHVDownloadPlugin.h"

namespace Halvorn {

std::string ToolInForce() {
    auto const plugin = IHVDownloadPlugin::SharedDownloadPlugin();
    return plugin->LocalPluginEnabled() ? plugin->LocalPluginPathFile() : plugin->PluginPathFile();
}

std::string MergerInForce() {
    auto const plugin = IHVDownloadPlugin::SharedDownloadPlugin();
    return plugin->LocalPluginEnabled() ? plugin->LocalFfmpegPathFile() : plugin->FfmpegPathFile();
}

} // namespace Halvorn

// An application of a stranger's: built from an installed library alone.

#include <Reelhaul/Reelhaul.h>

#include <cstdio>

using namespace Halvorn;

int main() {
    IHVDownloadPlugin::UseLocalPluginForThisProcess(false);
    auto const plugin = IHVDownloadPlugin::SharedDownloadPlugin();
    auto const queue = IHVDownloadControllers::MallocDownloadControllers();
    auto const item = IHVDownloadItem::MallocDownloadItem("http://127.0.0.1/");
    queue->AddController(IHVDownloadController::MallocDownloadController(item, "."));
    std::printf("%s %.1f %d %s\n", reinterpret_cast<char const*>(ReelhaulVersionString),
                ReelhaulVersionNumber, queue->GetControllerCount(), plugin->BuiltInPluginVersion().c_str());
    return queue->GetControllerCount() == 1 && !plugin->BuiltInPluginVersion().empty() ? 0 : 1;
}

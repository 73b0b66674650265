// An application of a stranger's: built from an installed library alone.

#include <Reelhaul/Reelhaul.h>

#include <cstdio>

using namespace Halvorn;

#if REELHAUL_VERSION < 10000 || REELHAUL_VERSION_MAJOR != REELHAUL_VERSION / 10000
#error "the macros don't fit each other"
#endif

static char const* NameOf(std::int32_t code) {
    switch (code) {
    case HVErrorCodeSucceed:
        return "succeeded";
    case HVErrorCodeCancelled:
        return "cancelled";
    default:
        return "failed";
    }
}

int main() {
    IHVDownloadPlugin::UseLocalPluginForThisProcess(false);
    auto const plugin = IHVDownloadPlugin::SharedDownloadPlugin();
    auto const queue = IHVDownloadControllers::MallocDownloadControllers();
    auto const item = IHVDownloadItem::MallocDownloadItem("http://127.0.0.1/");
    queue->AddController(IHVDownloadController::MallocDownloadController(item, "."));
    std::printf("%s %.1f %d %s\n", reinterpret_cast<char const*>(ReelhaulVersionString),
                ReelhaulVersionNumber, queue->GetControllerCount(), plugin->BuiltInPluginVersion().c_str());
    std::puts(NameOf(IHVError::MallocSucceed("main", __LINE__, __func__)->GetErrorCode()));
    if (static_cast<int>(ReelhaulVersionNumber * 100 + 0.5) != REELHAUL_VERSION / 100)
        return 1;
    return queue->GetControllerCount() == 1 && !plugin->BuiltInPluginVersion().empty() ? 0 : 1;
}

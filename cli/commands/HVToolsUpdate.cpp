#include "HVToolsCommand.h"

#include "HVFolder.h"
#include "HVRequest.h"
#include "HVSession.h"
#include "HVToolSetUp.h"

#include <Reelhaul/HVDisplayText.h>
#include <Reelhaul/IHVDownloadPlugin.h>

#include <memory>
#include <string>

namespace Halvorn {

namespace {

std::string Version(std::string const& text) {
    return text.substr(0, text.find_first_of("\r\n"));
}

/// The last line of an update: what really happened.
int Tell(HVConsole& console, IHVDownloadPlugin::UpdateOutcome const& outcome) {
    std::string const before = Version(outcome.oldVersion);
    std::string const after = Version(outcome.newVersion);
    if (outcome.changed) {
        console.Out("yt-dlp was updated from " + before + " to " + after + ".");
        return HVExitDone;
    }
    if (before.empty() && after.empty()) {
        console.Error("There is no local yt-dlp that runs: " + PlainFault(outcome.message));
        return HVExitFailed;
    }
    if (!outcome.message.empty()) {
        console.Error("yt-dlp " + (after.empty() ? before : after) +
                      " stays: " + PlainFault(outcome.message));
        return HVExitFailed;
    }
    if (outcome.offeredVersion.empty()) {
        console.Error("yt-dlp " + before + " stays: the release host did not tell the latest version");
        return HVExitFailed;
    }
    console.Out("yt-dlp " + (after.empty() ? before : after) + " is up to date.");
    return HVExitDone;
}

} // namespace

int RunToolsUpdate(HVSession& session, HVRequest& request) {
    std::string const folder = LocalToolFolder(request);
    std::string const fault = folder.empty() ? "there is no place for a local copy; name a folder with --tool"
                                             : MakeFolder(folder, HVFolderUse::Programs);
    if (!fault.empty()) {
        session.Console().Error(fault);
        return HVExitFailed;
    }
    auto const plugin = IHVDownloadPlugin::SharedDownloadPlugin();
    plugin->SetLocalPluginInstallPath(folder);
    auto const result = std::make_shared<std::shared_ptr<IHVError const>>();
    session.Console().Note("Updating the copies in " + folder);
    int const early = session.RunAside("Updating the copies in " + folder, [plugin, result] {
        plugin->UpdateLocalPlugin([result](std::shared_ptr<IHVError const> error) { *result = error; });
        // Waits for the end; it cancels nothing.
        plugin->CancelUpdateLocalPlugin();
    });
    if (early != HVExitDone)
        return early;
    if (*result && !(*result)->Succeed()) {
        session.Console().Error((*result)->GetPlainMessage());
        return HVExitFailed;
    }
    return session.FinalStatus(Tell(session.Console(), IHVDownloadPlugin::LastUpdate()));
}

} // namespace Halvorn

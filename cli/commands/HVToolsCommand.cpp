#include "HVToolsCommand.h"

#include "HVRequest.h"
#include "HVSession.h"
#include "HVTableText.h"
#include "HVToolSetUp.h"

#include <Reelhaul/IHVDownloadPlugin.h>
#include <Reelhaul/IHVLogConfig.h>

#include <future>
#include <memory>
#include <string>
#include <vector>

namespace Halvorn {

namespace {

struct Copy {
    std::string name;
    std::string kind;
    std::string path;
    bool inForce;
    IHVDownloadPlugin::ProgramVersion version{};
};

std::vector<Copy> AllCopies(HVRequest const& request) {
    auto const plugin = IHVDownloadPlugin::SharedDownloadPlugin();
    bool const local = ChooseCopies(request);
    std::string const folder = plugin->GetLocalPluginInstallPath();
    std::string const runtime = IHVDownloadPlugin::BuiltInJSRuntimePathFile();
    std::vector<Copy> copies{{"yt-dlp", "built-in", plugin->PluginPathFile(), !local},
                             {"yt-dlp", "local", folder + "/yt-dlp", local},
                             {"ffmpeg", "built-in", plugin->FfmpegPathFile(), !local},
                             {"ffmpeg", "local", folder + "/ffmpeg", local},
                             {"deno", "built-in", runtime, request.jsRuntime.empty() && !runtime.empty()}};
    if (folder.empty()) // there is no home folder
        std::erase_if(copies, [](Copy const& copy) { return copy.kind == "local"; });
    if (!request.jsRuntime.empty())
        copies.push_back({"deno", "named", request.jsRuntime, true});
    return copies;
}

IHVDownloadPlugin::ProgramVersion Ask(Copy const& copy) {
    if (std::string fault = ProgramFault(copy.path); !fault.empty())
        return {{}, fault};
    return IHVDownloadPlugin::AskProgramVersion(copy.path, copy.name == "ffmpeg" ? "-version" : "--version");
}

/// "7.1" of "ffmpeg version 7.1 Copyright ..." and of "deno 7.1 (stable, ...)".
std::string VersionWord(Copy const& copy) {
    std::string line = copy.version.line;
    for (std::string const& front : {copy.name + " ", std::string("version ")})
        if (line.starts_with(front))
            line.erase(0, front.size());
    return line.substr(0, line.find(' '));
}

} // namespace

int RunTools(HVSession& session, HVRequest& request) {
    auto const copies = std::make_shared<std::vector<Copy>>(AllCopies(request));
    int const early = session.RunAside("Asking the tools for their versions", [copies] {
        std::vector<std::future<void>> answers;
        for (Copy& copy : *copies)
            answers.push_back(std::async(std::launch::async, [&copy] { copy.version = Ask(copy); }));
        // Each waits for its answer when it goes.
        answers.clear();
    });
    if (early != HVExitDone)
        return early;
    HVTableText table({{"Tool"}, {"Copy"}, {"In force"}, {"Version"}, {"Path"}, {"Fault"}});
    bool usable = true;
    for (Copy const& copy : *copies) {
        table.AddRow({copy.name, copy.kind, copy.inForce ? "yes" : "no", VersionWord(copy), copy.path,
                      copy.version.fault});
        usable = usable && (!copy.inForce || copy.version.fault.empty());
    }
    for (std::string const& line : table.Lines())
        session.Console().Out(line.substr(line.empty() ? 0 : 2));
    return session.FinalStatus(usable ? HVExitDone : HVExitFailed);
}

int RunToolsUse(HVSession& session, HVRequest& request) {
    bool const local = request.copies == "local";
    if (!local && request.copies != "built-in") {
        session.Console().Error("\"tools use\" takes local or built-in, not \"" + request.copies + "\"");
        return HVExitUsage;
    }
    std::string const tool = LocalToolFolder(request) + "/yt-dlp";
    if (std::string const fault = ProgramFault(tool); local && !fault.empty()) {
        session.Console().Error(fault + "; \"reelhaul tools update\" makes a local copy");
        return HVExitFailed;
    }
    // Whether the choice could be stored, the library says in its log alone.
    std::string failure;
    IHVLogConfig::SetHandler([&failure](IHVLogConfig::LogLevel level, std::string const& line) {
        if (level == IHVLogConfig::LogLevelError)
            failure = line;
    });
    IHVDownloadPlugin::SharedDownloadPlugin()->EnableLocalPlugin(local);
    IHVLogConfig::SetHandler({});
    if (!failure.empty()) {
        session.Console().Error(failure);
        return HVExitFailed;
    }
    session.Console().Note(local ? "The local copies serve from now on: " + LocalToolFolder(request)
                                 : std::string("The built-in copies serve from now on."));
    return HVExitDone;
}

} // namespace Halvorn

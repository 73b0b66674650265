#include "HVToolVersion.h"

#include "HVDownloadPluginNames.h"
#include "HVToolRun.h"
#include "IHVDownloadPlugin.h"

namespace Halvorn {

namespace {

constexpr std::size_t kVersionBytes = 65'536;

HVToolResult Ask(std::string const& exe, std::string const& argument, unsigned int time) {
    HVToolRun run(exe, {argument});
    run.SetLimits({time, 0, kVersionBytes});
    run.EndWithLeader();
    run.StartAnew();
    return run.Run();
}

std::string FirstLine(std::string const& text) {
    auto const begin = text.find_first_not_of(" \t\r\n");
    return begin == std::string::npos ? std::string()
                                      : text.substr(begin, text.find_first_of("\r\n", begin) - begin);
}

/// The reason alone, for a place where the path stands already.
std::string StartFault(std::string const& path, std::string message) {
    if (auto const reason = message.find("\"" + path + "\": "); reason != std::string::npos)
        message.erase(0, reason + path.size() + 4);
    if (message.ends_with('.'))
        message.pop_back();
    return message;
}

} // namespace

std::string ToolVersion(std::string const& exe, unsigned int time) {
    auto const result = Ask(exe, kVersionArgument, time);
    return result.endedBy == HVToolResult::By::Tool ? result.output : std::string();
}

IHVDownloadPlugin::ProgramVersion IHVDownloadPlugin::AskProgramVersion(std::string const& path,
                                                                       std::string const& argument,
                                                                       unsigned int milliseconds) {
    auto const result = Ask(path, argument, milliseconds);
    if (result.startError != nullptr)
        return {{}, StartFault(path, result.startError->GetErrorMessage())};
    std::string line = FirstLine(result.output);
    if (line.empty())
        line = FirstLine(result.errors);
    switch (result.endedBy) {
    case HVToolResult::By::Tool:
        break;
    case HVToolResult::By::OutputLimit:
        return {{}, "prints without an end"};
    default:
        return {{}, "does not end"};
    }
    if (result.Succeeded() && !line.empty())
        return {line, {}};
    return {{}, "does not run: " + (line.empty() ? std::string("it prints nothing") : line)};
}

} // namespace Halvorn

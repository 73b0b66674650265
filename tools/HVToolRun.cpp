#include "HVToolRun.h"

#include "HVDownloadPluginNames.h"

#include <memory>

namespace Halvorn {

namespace {

/// A tool that prints nothing for so long hangs, and whoever asks for its version must not hang with it.
constexpr unsigned int kVersionSilence = 60'000;
constexpr unsigned int kWaitStep = 500;

void Append(std::string& text, std::shared_ptr<IHVData const> const& data) {
    if (data != nullptr)
        text += data->ToText();
}

} // namespace

HVToolRun RunTool(IHVTask& task, std::string const& exe, std::vector<std::string> const& args) {
    // Shared with the handlers: a long-lived task keeps those beyond this call.
    auto const run = std::make_shared<HVToolRun>();
    task.SetErrorHandler([run](std::shared_ptr<IHVData const> const& data) { Append(run->errors, data); });
    task.SetOutputHandler([run](std::shared_ptr<IHVData const> const& data) { Append(run->output, data); });
    auto const started = task.Launch(exe, args, true);
    if (!started->Succeed()) {
        run->failure = started->GetErrorMessage();
        return *run;
    }
    while (task.WaitExit(kWaitStep) == HVErrTimeout) {
    }
    return *run;
}

HVToolRun RunTool(std::string const& exe, std::vector<std::string> const& args, unsigned int silence) {
    auto const task = IHVTask::MallocTask();
    task->SetSilenceLimit(silence);
    return RunTool(*task, exe, args);
}

std::string ToolVersion(std::string const& exe) {
    return RunTool(exe, {kVersionArgument}, kVersionSilence).output;
}

} // namespace Halvorn

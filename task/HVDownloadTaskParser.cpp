#include "HVDownloadTaskParser.h"

#include "HVArgsBuilder.h"
#include "HVGroupMember.h"
#include "HVToolLanes.h"
#include "HVToolRun.h"
#include "IHVLogConfig.h"
#include "IHVStringHelper.h"

#include <stdexcept>
#include <string_view>
#include <utility>

namespace Halvorn {

std::shared_ptr<IHVDownloadTask> IHVDownloadTask::MallocDownloadTask(std::string const& url) {
    return std::make_shared<HVDownloadTaskParser>(url);
}

std::shared_ptr<IHVDownloadTask> IHVDownloadTask::MallocTextDownloadTask(std::string const& url) {
    return std::make_shared<HVDownloadTaskParser>(url, HVAnalysisRoute::PlainText);
}

std::vector<IHVDownloadTask::FailedEntry> IHVDownloadTask::FailedEntries() const {
    auto const* const parser = dynamic_cast<HVDownloadTaskParser const*>(this);
    return parser == nullptr ? std::vector<FailedEntry>() : parser->Failures();
}

HVDownloadTaskParser::HVDownloadTaskParser(std::string url, HVAnalysisRoute route)
    : taskURL_(std::move(url)), route_(route) {}

void HVDownloadTaskParser::asyncProgressTask() {
    if (route_ == HVAnalysisRoute::PlainText)
        UsingPainTextOutput();
    else
        UsingJsonOutput();
}

std::vector<IHVDownloadTask::FailedEntry> HVDownloadTaskParser::Failures() const {
    std::lock_guard const lock(failuresMutex_);
    return failures_;
}

void HVDownloadTaskParser::KeepFailure(int index, std::string const& url, Result const& result, int level) {
    // What fails after a stop has failed by the stop.
    if (result->Succeed() || UserCancel())
        return;
    std::lock_guard const lock(failuresMutex_);
    failures_.push_back({index + 1, url, result, level});
}

std::shared_ptr<IHVError const>
HVDownloadTaskParser::SearchDownloadItems(std::string& output, std::string& errorText, bool jsonOutput) {
    if (taskURL_.empty())
        return IHVError::MallocError("HVDownloadTaskParser", __LINE__, "SearchDownloadItems", -1, "Error",
                                     "Download url is not set.");
    HVArgsBuilder builder(OptionsFor(taskURL_));
    builder.SetJsRuntimePath(GetJSRuntimePath());
    return GetResultFromServer(output, errorText, builder.BuildSearchItemsArgs(taskURL_, jsonOutput));
}

HVToolResult HVDownloadTaskParser::RunTool(std::vector<std::string> const& args,
                                           std::shared_ptr<HVToolLanes> const& lanes) {
    if (lanes != nullptr)
        lanes->AwaitTool([this] { return UserCancel(); });
    HVToolRun run(HVArgsBuilder::GetDownloadCommadExe(), args);
    run.SetJSRuntimePath(GetJSRuntimePath());
    // The address is the last argument of each of the lists.
    auto const options = OptionsFor(args.empty() ? taskURL_ : args.back());
    run.SetOptions(options.get());
    run.SetStop(Stop());
    run.SetLanes(lanes);
    return run.Run();
}

std::shared_ptr<IHVError const>
HVDownloadTaskParser::GetResultFromServer(std::string& output, std::string& errorText,
                                          std::vector<std::string> const& args,
                                          std::shared_ptr<HVToolLanes> const& lanes) {
    auto const group = lanes == nullptr ? Group() : nullptr;
    auto result = RunTool(args, group == nullptr ? lanes : group->Lanes());
    if (result.LostInLane() && !UserCancel())
        result = RunTool(args, nullptr);
    if (result.startError != nullptr)
        return result.startError;
    if (result.handlerError != nullptr)
        throw std::runtime_error(result.handlerError->GetErrorMessage());
    IHVLogConfig::Printf("err:%s", result.errors.c_str());
    errorText = std::move(result.errors);
    output = std::move(result.output);
    return IHVError::MallocSucceed("HVDownloadTaskParser", __LINE__, "GetResultFromServer");
}

std::shared_ptr<IHVError const> HVDownloadTaskParser::ParseFatalError(std::string const& errorText) {
    std::vector<std::string> fatal;
    for (auto& line : IHVStringHelper::Split(errorText, '\n'))
        if (line.find("ERROR:") != std::string::npos)
            fatal.push_back(std::move(line));
    if (fatal.empty())
        return IHVError::MallocSucceed("HVDownloadTaskParser", __LINE__, "ParseFatalError");
    return IHVError::MallocError("HVDownloadTaskParser", __LINE__, "ParseFatalError", -1, "Error",
                                 IHVStringHelper::Join(fatal, '\n').c_str());
}

int HVDownloadTaskParser::ParseSearchResult(std::string const& output) {
    constexpr std::string_view kItemOfMany = "Downloading item 1 of ";
    if (auto const marker = output.find(kItemOfMany); marker != std::string::npos) {
        auto const begin = marker + kItemOfMany.size();
        auto const end = output.find('\n', begin);
        return std::stoi(output.substr(begin, end == std::string::npos ? end : end - begin));
    }
    return output.find("Downloading 1 format(s)") != std::string::npos ? 1 : 0;
}

} // namespace Halvorn

#include "HVFailure.h"

#include "HVRequest.h"

#include <Reelhaul/IHVGeneralOptions.h>

namespace Halvorn {

std::string FailureText(IHVError const& error, HVRequest const& request) {
    std::string text = error.GetPlainMessage();
    auto const general = request.options ? request.options->GetGeneralOptions() : nullptr;
    if (general && !general->GetIgnoreToolConfiguration())
        text += " (with --tool-config, your configuration files of the tool may be the cause)";
    return text;
}

std::string EntryName(IHVDownloadTask::FailedEntry const& entry) {
    return "item " + std::to_string(entry.number) + (entry.level > 0 ? " of a list inside it" : "") +
           (entry.url.empty() ? "" : " (" + entry.url + ")");
}

std::string FailedEntriesText(std::size_t failed, int count) {
    if (failed < 2)
        return {};
    return std::to_string(failed) + " of " + std::to_string(count) + " items could not be loaded";
}

} // namespace Halvorn

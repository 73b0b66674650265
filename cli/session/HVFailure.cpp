#include "HVFailure.h"

#include "HVRequest.h"

#include <Reelhaul/IHVGeneralOptions.h>

#include <utility>

namespace Halvorn {

std::string HVFailure::Line() const {
    std::string const remedy = ErrorKindRemedy(kind);
    if (remedy.empty())
        return message;
    std::string line = message + (message.ends_with('.') ? " " : ". ") + remedy;
    if (delay > 0)
        line += " (It asks for " + std::to_string(delay) + " s.)";
    return line;
}

std::vector<HVJsonField> HVFailure::Fields() const {
    std::vector<HVJsonField> fields{{"kind", ErrorKindName(kind)},
                                    {"message", message},
                                    {"remedy", ErrorKindRemedy(kind)},
                                    {"retry", retry}};
    if (delay > 0)
        fields.emplace_back("retry_after", delay);
    return fields;
}

HVFailure FailureOf(IHVError const& error, HVRequest const& request) {
    std::string text = error.GetPlainMessage();
    auto const general = request.options ? request.options->GetGeneralOptions() : nullptr;
    if (general && !general->GetIgnoreToolConfiguration())
        text += " (with --tool-config, your configuration files of the tool may be the cause)";
    return {std::move(text), error.GetKind(), error.CanRetry(), error.GetRetryDelay()};
}

std::string NameOf(HVListedAddress const& address) {
    return (address.place.empty() ? "" : address.place + ": ") + address.url;
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

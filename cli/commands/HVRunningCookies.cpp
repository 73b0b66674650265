#include "HVRunningCookies.h"

#include "HVOptionReader.h"
#include "HVRequest.h"
#include "HVSession.h"

#include <Reelhaul/IHVBrowserState.h>
#include <Reelhaul/IHVDownloadCookies.h>

#include <algorithm>
#include <filesystem>
#include <future>
#include <memory>

namespace Halvorn {

namespace {

struct Outcome {
    std::shared_ptr<IHVError const> error;
    std::string file;
};

} // namespace

std::string ReadRunningBrowser(std::string const& given, HVBrowserQuestion& question) {
    auto const colon = std::min(given.find(':'), given.size());
    question.profile = colon < given.size() ? given.substr(colon + 1) : std::string();
    return ReadBrowser(given.substr(0, colon), question.browser);
}

HVRunningCookies::~HVRunningCookies() {
    std::error_code fault; // where it can't be removed it goes with the temporary folder
    if (!file_.empty())
        std::filesystem::remove(file_, fault);
}

int HVRunningCookies::Ask(HVSession& session, HVRequest& request) {
    if (request.runningBrowser.empty())
        return HVExitDone;
    HVBrowserQuestion question;
    ReadRunningBrowser(request.runningBrowser, question); // which the command line has checked
    for (HVListedAddress const& address : request.addresses)
        question.addresses.push_back(address.url);
    std::string const name = IHVBrowserState::BrowserName(question.browser);
    session.Console().Note("Asking " + name +
                           " for cookies; it may wait for your word in the extension's popup");
    // Shared with a thread that may outlive an interrupted run.
    auto const record = IHVDownloadCookies::MallocDownloadCookies();
    auto const outcome = std::make_shared<Outcome>();
    int const early = session.RunAside("Asking " + name + " for cookies", [record, outcome, question] {
        std::promise<Outcome> told;
        auto answer = told.get_future();
        auto const started = record->AskRunningBrowser(
            question, [&told](std::shared_ptr<IHVError const> error, std::string const& file) {
                told.set_value({std::move(error), file});
            });
        *outcome = started->Succeed() ? answer.get() : Outcome{started, {}};
    });
    if (early != HVExitDone) {
        record->StopAsking();
        return early;
    }
    file_ = outcome->file;
    if (!outcome->error->Succeed()) {
        session.Console().Error(outcome->error->GetPlainMessage());
        return HVExitFailed;
    }
    request.options->SetDownloadCookies(IHVDownloadCookies::MallocDownloadCookies(file_));
    return HVExitDone;
}

} // namespace Halvorn

#include "HVCookiesCommand.h"

#include "HVFolder.h"
#include "HVOptionReader.h"
#include "HVRequest.h"
#include "HVSession.h"
#include "HVToolSetUp.h"

#include <Reelhaul/IHVDownloadCookies.h>
#include <Reelhaul/IHVRunningBrowsers.h>

#include <memory>
#include <string>

namespace Halvorn {

namespace {

void ShowStatus(HVSession& session, HVDownloadBrowser wanted) {
    for (auto const& status : IHVRunningBrowsers::GetStatus()) {
        bool const known = status.hasRun || status.hostInstalled || !status.profiles.empty();
        if (wanted == HVDownloadBrowserUnknown ? !known : status.browser != wanted)
            continue;
        std::string profiles;
        for (auto const& profile : status.profiles)
            profiles += (profiles.empty() ? " Profiles: " : ", ") + profile;
        session.Console().Out(status.text + (profiles.empty() ? "" : profiles + "."));
    }
}

/// Sets browsers up to be asked while they run.
int SetUpBrowsers(HVSession& session, HVRequest const& request, HVDownloadBrowser browser) {
    if (!request.status) {
        auto const result = request.installHost ? IHVRunningBrowsers::InstallHost(browser)
                                                : IHVRunningBrowsers::UninstallHost(browser);
        if (!result->Succeed()) {
            session.Console().Error(result->GetPlainMessage());
            return HVExitFailed;
        }
    }
    ShowStatus(session, browser);
    return session.FinalStatus(HVExitDone);
}

} // namespace

int RunCookies(HVSession& session, HVRequest& request) {
    HVDownloadBrowser browser = HVDownloadBrowserUnknown;
    IHVDownloadCookies::BrowserStore store;
    bool const setsUp = request.installHost || request.uninstallHost || request.status;
    if (std::string const fault = setsUp && request.browser.empty()
                                      ? std::string()
                                      : ReadBrowserStore(request.browser, browser, store);
        !fault.empty()) {
        session.Console().Error(fault);
        return HVExitUsage;
    }
    if (setsUp)
        return SetUpBrowsers(session, request, browser);
    std::string fault = SetUpTools(request);
    if (fault.empty())
        fault = MakeFolder(request.folder, HVFolderUse::Secrets);
    if (!fault.empty()) {
        session.Console().Error(fault);
        return HVExitFailed;
    }
    // Shared with a thread that may outlive an interrupted run.
    auto const cookies = IHVDownloadCookies::MallocDownloadCookies();
    cookies->SetBrowserStore(store);
    auto const result = std::make_shared<std::shared_ptr<IHVError const>>();
    int const early = session.RunAside("Reading the cookies of " + request.browser,
                                       [cookies, result, folder = request.folder, browser] {
                                           *result = cookies->GenerateCookiesFile(folder, browser);
                                       });
    if (early != HVExitDone)
        return early;
    if (!(*result)->Succeed()) {
        session.Console().Error((*result)->GetPlainMessage());
        return HVExitFailed;
    }
    session.Console().Out(cookies->GetCookiesPathFile());
    return session.FinalStatus(HVExitDone);
}

} // namespace Halvorn

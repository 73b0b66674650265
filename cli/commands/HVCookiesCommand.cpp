#include "HVCookiesCommand.h"

#include "HVFolder.h"
#include "HVOptionReader.h"
#include "HVRequest.h"
#include "HVSession.h"
#include "HVToolSetUp.h"

#include <Reelhaul/IHVDownloadCookies.h>

#include <memory>
#include <string>

namespace Halvorn {

int RunCookies(HVSession& session, HVRequest& request) {
    HVDownloadBrowser browser = HVDownloadBrowserUnknown;
    if (std::string const fault = ReadBrowser(request.browser, browser); !fault.empty()) {
        session.Console().Error(fault);
        return HVExitUsage;
    }
    std::string fault = SetUpTools(request);
    if (fault.empty())
        fault = MakeFolder(request.folder, HVFolderUse::Secrets);
    if (!fault.empty()) {
        session.Console().Error(fault);
        return HVExitFailed;
    }
    // Shared with a thread that may outlive an interrupted run.
    auto const cookies = IHVDownloadCookies::MallocDownloadCookies();
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

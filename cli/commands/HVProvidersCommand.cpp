#include "HVProvidersCommand.h"

#include "HVRequest.h"
#include "HVSession.h"
#include "HVTableText.h"

#include <Reelhaul/IHVAdobePassAuthentication.h>

#include <algorithm>
#include <string>

namespace Halvorn {

namespace {

std::string LowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return text;
}

} // namespace

int RunProviders(HVSession& session, HVRequest& request) {
    std::string const wanted = LowerCase(request.search);
    HVTableText table({{"Id"}, {"Name"}});
    bool any = false;
    for (int i = 0; i < IHVAdobePassAuthentication::GetSupportedMSOCount(); ++i) {
        std::string const id = IHVAdobePassAuthentication::GetSupprotedMSOID(i);
        std::string const name = IHVAdobePassAuthentication::GetSupportedMSOName(i);
        if (LowerCase(id).find(wanted) == std::string::npos &&
            LowerCase(name).find(wanted) == std::string::npos)
            continue;
        any = true;
        table.AddRow({id, name});
    }
    if (!any) {
        session.Console().Error("there is no TV provider whose id or name holds \"" + request.search + "\"");
        return HVExitFailed;
    }
    auto const lines = table.Lines();
    // Without the head line and the margin: the lines are for searching on as well.
    for (std::size_t i = 1; i < lines.size() && !session.Console().OutputFailed(); ++i)
        session.Console().Out(lines[i].substr(2));
    return session.FinalStatus(HVExitDone);
}

} // namespace Halvorn

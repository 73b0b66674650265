#include "HVCookiesGuard.h"

#include "HVExtension.h"
#include "IHVDownloadCookies.h"
#include "IHVDownloadOptions.h"
#include "IHVLogConfig.h"

namespace Halvorn {

namespace {

constexpr char kFolder[] = ".tool-extension";

} // namespace

std::string CookiesGuardFolder(IHVDownloadOptions const* options) {
    auto const cookies = options == nullptr ? nullptr : options->GetDownloadCookies();
    if (cookies == nullptr || cookies->GetCookiesPathFile().empty())
        return {};
    std::string folder = ExtensionFolder(kFolder);
    if (folder.empty())
        return {};
    if (std::string const reason = WriteExtension(kFolder, {{"reelhaul_cookies.py", HVCookiesGuardText}});
        !reason.empty()) {
        IHVLogConfig::Printf(IHVLogConfig::LogLevelWarning,
                             "Downloads at the same time may damage their cookies file: %s", reason.c_str());
        return {};
    }
    return folder;
}

} // namespace Halvorn

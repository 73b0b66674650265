#include "HVCookiesGuard.h"

#include "HVAtomicFile.h"
#include "HVFileSystem.h"
#include "IHVDownloadCookies.h"
#include "IHVDownloadOptions.h"
#include "IHVFileProvider.h"
#include "IHVLogConfig.h"

namespace Halvorn {

namespace {

constexpr char kFolder[] = ".tool-extension";
/// Where the tool looks for plugins in each folder of PYTHONPATH.
constexpr char kPlugins[] = "yt_dlp_plugins/extractor";
constexpr char kFile[] = "reelhaul_cookies.py";

int WriteGuard(std::string const& folder) {
    std::string const plugins = IHVFileProvider::AppendPathComponent(folder, kPlugins);
    std::string const path = IHVFileProvider::AppendPathComponent(plugins, kFile);
    if (IHVFileProvider::PathFileExist(path))
        return 0;
    if (int const error = MakeFolders(plugins); error != 0)
        return error;
    HVAtomicFile file(path);
    int error = file.Open();
    if (error == 0)
        error = file.Write(HVCookiesGuardText);
    return error == 0 ? file.Commit(true) : error;
}

} // namespace

std::string CookiesGuardFolder(IHVDownloadOptions const* options) {
    auto const cookies = options == nullptr ? nullptr : options->GetDownloadCookies();
    if (cookies == nullptr || cookies->GetCookiesPathFile().empty())
        return {};
    std::string const temporary = IHVFileProvider::GetTmpPath();
    if (temporary.empty())
        return {};
    std::string folder = IHVFileProvider::AppendPathComponent(temporary, kFolder);
    if (int const error = WriteGuard(folder); error != 0) {
        IHVLogConfig::Printf(IHVLogConfig::LogLevelWarning,
                             "Downloads at the same time may damage their cookies file: %s",
                             FileErrorReason(error).c_str());
        return {};
    }
    return folder;
}

} // namespace Halvorn

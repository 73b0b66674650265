#include "HVRunExtension.h"

#include "HVExtension.h"
#include "HVToolReport.h"
#include "IHVDownloadCookies.h"
#include "IHVDownloadOptions.h"
#include "IHVLogConfig.h"

#include <fstream>
#include <iterator>
#include <string_view>

namespace Halvorn {

namespace {

constexpr char kFolder[] = ".tool-extension";

} // namespace

std::string RunExtensionFolder(std::string const& exe, IHVDownloadOptions const* options) {
    auto const cookies = options == nullptr ? nullptr : options->GetDownloadCookies();
    bool const guarded = cookies != nullptr && !cookies->GetCookiesPathFile().empty();
    if (!guarded && !IsForPython(exe))
        return {};
    std::string folder = ExtensionFolder(kFolder);
    if (folder.empty())
        return {};
    std::string const reason = WriteExtension(kFolder, {{"reelhaul_cookies.py", HVCookiesGuardText},
                                                        {"reelhaul_keep.py", HVToolKeepText},
                                                        {"reelhaul_rate.py", HVToolRateText},
                                                        {"reelhaul_report.py", ToolReportText()}});
    if (reason.empty())
        return folder;
    if (guarded)
        IHVLogConfig::Printf(IHVLogConfig::LogLevelWarning,
                             "Downloads at the same time may damage their cookies file: %s", reason.c_str());
    return {};
}

bool IsForPython(std::string const& path) {
    constexpr std::string_view kMark = "MEI\014\013\012\013\016";
    constexpr std::streamoff kTail = 8192;
    std::ifstream file(path, std::ios::binary);
    std::string line;
    if (!std::getline(file, line))
        return false;
    if (line.starts_with("#!"))
        return line.find("python") != std::string::npos;
    file.clear();
    file.seekg(0, std::ios::end);
    auto const size = static_cast<std::streamoff>(file.tellg());
    file.seekg(size > kTail ? size - kTail : 0);
    std::string const tail((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    return tail.find(kMark) != std::string::npos;
}

} // namespace Halvorn

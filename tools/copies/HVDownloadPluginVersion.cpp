#include "HVDownloadPlugin.h"
#include "HVDownloadPluginNames.h"
#include "HVToolRun.h"
#include "HVToolVersion.h"
#include "IHVFileProvider.h"

#include <algorithm>
#include <sstream>

namespace Halvorn {

bool IsVersion(std::string const& text) {
    // As long as any int can hold.
    constexpr std::size_t kMostDigits = 9;
    std::size_t digits = 0;
    for (char const c : text + ".") {
        bool const digit = c >= '0' && c <= '9';
        if (digit ? ++digits > kMostDigits : c != '.' || digits == 0)
            return false;
        digits = digit ? digits : 0;
    }
    return true;
}

std::string HVDownloadPlugin::PluginTask(std::string const& exe, std::string argument) const {
    return argument == kVersionArgument ? ToolVersion(exe) : UpdatePluginTask(exe, std::move(argument));
}

std::string HVDownloadPlugin::BuiltInPluginVersion() const {
    return PluginTask(PluginPathFile(), kVersionArgument);
}

std::string HVDownloadPlugin::LocalPluginVersion() const {
    std::string const path = LocalPluginPathFile();
    if (!IHVFileProvider::PathFileExist(path))
        return kFallbackVersion;
    return PluginTask(path, kVersionArgument);
}

std::vector<int> HVDownloadPlugin::SplitVersionString(std::string const& text) const {
    std::vector<int> numbers;
    std::istringstream stream(text);
    std::string piece;
    while (std::getline(stream, piece, '.'))
        numbers.push_back(std::stoi(piece));
    return numbers;
}

bool HVDownloadPlugin::IsUpdateAvailable(std::string const& oldVersion, std::string const& newVersion) const {
    if (oldVersion.empty() || newVersion.empty())
        return false;
    auto const before = SplitVersionString(oldVersion);
    auto const after = SplitVersionString(newVersion);
    return std::lexicographical_compare(before.begin(), before.end(), after.begin(), after.end());
}

} // namespace Halvorn

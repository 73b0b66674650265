#include "HVExtension.h"

#include "HVAtomicFile.h"
#include "HVFileSystem.h"
#include "IHVFileProvider.h"

namespace Halvorn {

namespace {

/// Where the tool looks for plugins in each folder that it is told of.
constexpr char kPlugins[] = "yt_dlp_plugins/extractor";

int Write(std::string const& path, std::string const& text) {
    if (IHVFileProvider::PathFileExist(path))
        return 0;
    HVAtomicFile file(path);
    int error = file.Open();
    if (error == 0)
        error = file.Write(text);
    return error == 0 ? file.Commit(true) : error;
}

} // namespace

std::string ExtensionFolder(std::string const& folder) {
    std::string const temporary = IHVFileProvider::GetTmpPath();
    return temporary.empty() ? temporary : IHVFileProvider::AppendPathComponent(temporary, folder);
}

std::string WriteExtension(std::string const& place, std::vector<HVExtensionFile> const& files) {
    std::string const folder = ExtensionFolder(place);
    if (folder.empty())
        return "there is no temporary folder.";
    std::string const plugins = IHVFileProvider::AppendPathComponent(folder, kPlugins);
    int error = MakeFolders(plugins);
    for (auto const& [name, text] : files)
        if (error == 0)
            error = Write(IHVFileProvider::AppendPathComponent(plugins, name), text);
    return error == 0 ? std::string() : FileErrorReason(error);
}

} // namespace Halvorn

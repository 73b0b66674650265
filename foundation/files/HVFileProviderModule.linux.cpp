#include "IHVFileProvider.h"

#include <climits>
#include <cstdlib>
#include <string_view>

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

namespace Halvorn {

namespace {

struct ModuleSearch {
    std::string component; ///< "/name/"
    std::string folder;    ///< what was found, empty so far
};

int LookAtModule(dl_phdr_info* info, std::size_t /*size*/, void* data) {
    auto& search = *static_cast<ModuleSearch*>(data);
    std::string_view const path(info->dlpi_name == nullptr ? "" : info->dlpi_name);
    std::string_view const leading = std::string_view(search.component).substr(1);
    if (path.find(search.component) == std::string_view::npos && path.substr(0, leading.size()) != leading)
        return 0;
    search.folder = path.substr(0, path.rfind('/'));
    return 1;
}

/// With links resolved: the tools stand beside the real file, and a relative path would follow a later chdir.
std::string AbsolutePath(std::string const& path) {
    char buffer[PATH_MAX];
    return realpath(path.c_str(), buffer) == nullptr ? path : std::string(buffer);
}

/// Full path of the file that this function was loaded from.
std::string OwnModulePathFile() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<void const*>(&OwnModulePathFile), &info) == 0 || info.dli_fname == nullptr)
        return {};
    std::string const path = info.dli_fname;
    // Where the code is part of the program itself, the loader knows only the name it was called by.
    return AbsolutePath(path.find('/') == std::string::npos ? "/proc/self/exe" : path);
}

} // namespace

std::string IHVFileProvider::GetModulePath(std::string const& moduleName) {
    ModuleSearch search{"/" + moduleName + "/", {}};
    if (!moduleName.empty())
        dl_iterate_phdr(LookAtModule, &search);
    if (!search.folder.empty())
        return AbsolutePath(search.folder);
    std::string const own = OwnModulePathFile();
    return own.substr(0, own.empty() ? 0 : own.rfind('/'));
}

} // namespace Halvorn

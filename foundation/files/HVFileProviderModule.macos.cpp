#include "IHVFileProvider.h"

#include <dlfcn.h>
#include <mach-o/dyld.h>

namespace Halvorn {

namespace {

std::string FolderOf(std::string const& path) {
    std::size_t const slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

} // namespace

std::string IHVFileProvider::GetModulePath(std::string const& moduleName) {
    std::string const component = "/" + moduleName + "/";
    std::uint32_t const count = moduleName.empty() ? 0 : _dyld_image_count();
    for (std::uint32_t i = 0; i < count; ++i) {
        // An image may be unloaded meanwhile; its name is then null.
        char const* const name = _dyld_get_image_name(i);
        if (name != nullptr && std::string(name).find(component) != std::string::npos)
            return FolderOf(name);
    }
    Dl_info info{};
    if (dladdr(reinterpret_cast<void const*>(&IHVFileProvider::GetModulePath), &info) == 0 ||
        info.dli_fname == nullptr)
        return {};
    return FolderOf(info.dli_fname);
}

} // namespace Halvorn

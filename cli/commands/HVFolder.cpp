#include "HVFolder.h"

#include "HVFileAccess.h"
#include "HVNewFolder.h"

#include <filesystem>
#include <system_error>

namespace Halvorn {

namespace {

unsigned int ModeFor(HVFolderUse use) {
    switch (use) {
    case HVFolderUse::Secrets:
        return 0700;
    case HVFolderUse::Programs:
        return 0755;
    default:
        return 0777;
    }
}

} // namespace

std::string MakeFolder(std::string const& folder, HVFolderUse use) {
    std::error_code fault;
    if (std::filesystem::exists(folder, fault) && !std::filesystem::is_directory(folder, fault))
        return folder + " is no folder";
    fault = MakeNewFolder(folder, ModeFor(use));
    if (fault)
        return "can't make the folder " + folder + ": " + fault.message();
    if (!CanWriteInto(folder))
        return "can't write into the folder " + folder;
    return {};
}

} // namespace Halvorn

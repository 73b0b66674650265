// The release host's answer, and the comparison of the version in it.

#include "HVDownloadPlugin.h"
#include "HVFuzz.h"
#include "IHVJsonValue.h"

#include <stdexcept>

namespace Halvorn {

struct HVDownloadPluginPeer {
    static bool IsUpdateAvailable(std::string const& oldVersion, std::string const& newVersion) {
        return HVDownloadPlugin::SharedPlugin()->IsUpdateAvailable(oldVersion, newVersion);
    }
};

} // namespace Halvorn

using namespace Halvorn;

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    auto const answer = IHVJsonReader::ReadJsonString(FuzzText(data, size), nullptr);
    if (answer == nullptr)
        return 0;
    std::string const version = answer->GetValueString("tag_name");
    try {
        bool const newer = HVDownloadPluginPeer::IsUpdateAvailable("2024.01.01", version);
        HV_FUZZ_CHECK(!newer || !HVDownloadPluginPeer::IsUpdateAvailable(version, "2024.01.01"));
    } catch (std::logic_error const&) { // NOLINT(bugprone-empty-catch): no version at all, which the update
                                        // reports
    }
    return 0;
}

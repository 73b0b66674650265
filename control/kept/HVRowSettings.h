#pragma once
// What an application asks of a row's runs besides their options, as it is kept over restarts. Plain values.

#include "HVFormatWish.h"
#include "HVMetadataFiles.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace Halvorn {

class IHVDownloadArchive;

struct HVRowSettings {
    std::optional<HVFormatWish> wish; ///< IHVDownloadController::SetAnalysisAtStart
    HVMetadataFiles metadata;
    int skips = 0; ///< HVDownloadSkip
    std::shared_ptr<IHVDownloadArchive> archive;
};

/// Of the archive its file is kept, by its absolute path; an application's own one is not. Empty where all is
/// as it is at first.
std::string SettingsRecord(HVRowSettings const& settings);
/// `archive` gets the path of its file; settings hold none.
HVRowSettings SettingsOfRecord(std::string_view record, std::string& archive);

} // namespace Halvorn

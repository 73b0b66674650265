#pragma once
/// \file
/// What a download need not fetch: IHVDownloadController::SetSkips.

namespace Halvorn {

/// Flags; the values are fixed.
enum HVDownloadSkip {
    HVDownloadSkipNone = 0,
    HVDownloadSkipArchived = 1, ///< what the archive of IHVDownloadController::SetArchive knows
    HVDownloadSkipExisting = 2  ///< what has its file, see IHVDownloadController::FindExistingFile
};

} // namespace Halvorn

#pragma once
/// \file
/// How a download goes on where an earlier one stopped: IHVDownloadController::SetResumable.

#include <string>

namespace Halvorn {

/// Plain values.
struct HVResumeSettings {
    /// Folder of the partial data; empty for a hidden one in the target folder, so that the finished file has
    /// only to be renamed. What lies in it belongs to the library.
    std::string folder;
    /// How often a run tries again by itself after a failure that can pass (network, timed out, rate
    /// limited), and where the site refuses a run that has got further: its addresses may have expired, and
    /// each try asks for new ones. A try that has got further counts as the first one again.
    int retries = 0;
    /// Seconds before the first of them, at least what the site asks for. Each further wait is twice as long,
    /// up to `longestDelay`, and up to a quarter longer or shorter by chance.
    double retryDelay = 5;
    double longestDelay = 300; ///< seconds; see retryDelay
};

} // namespace Halvorn

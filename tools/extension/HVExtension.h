#pragma once
// What the tool loads from us as it loads plugins: texts that the build puts into the library, written where
// the tool finds them. Thread-safe.

#include <string>
#include <vector>

namespace Halvorn {

/// tools/extension/reelhaul_cookies.py
extern char const HVCookiesGuardText[];
/// tools/extension/reelhaul_keep.py
extern char const HVToolKeepText[];
/// tools/extension/reelhaul_rate.py
extern char const HVToolRateText[];
/// tools/extension/reelhaul_report.py, with a place for the mark
extern char const HVToolReportText[];
/// tools/extension/reelhaul_warm.py, and what it imports
extern char const HVWarmToolText[];
extern char const HVWarmToolBasisText[];
extern char const HVWarmToolLinkText[];
extern char const HVWarmToolLoadText[];
extern char const HVWarmToolRunText[];

struct HVExtensionFile {
    char const* name;
    std::string text;
};

/// Writes the files where the tool finds them as a plugin's: `place` is the folder that it is told of, in the
/// process's temporary one, and what is to stand between that and the plugin. What is there already stays.
/// Empty, or why they can't be written.
std::string WriteExtension(std::string const& place, std::vector<HVExtensionFile> const& files);
/// The path of a folder that was written to.
std::string ExtensionFolder(std::string const& folder);

} // namespace Halvorn

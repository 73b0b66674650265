#pragma once
// Folders below a target folder. Blocks on the disk; any thread.

#include <string>
#include <vector>

namespace Halvorn {

/// A folder, or why there is none.
struct HVSubfolder {
    std::string path;
    std::string failure;
};

/// The folder `names` below `root`, made where it is missing. Nothing leaves `root`: where a link that leads
/// out of it, or a file, has a name, the folder gets a number behind its own. A link that is put there at the
/// very moment is followed.
HVSubfolder MakeSubfolder(std::string const& root, std::vector<std::string> const& names);
/// The same as far as it exists; an empty path for a folder that would have to be made.
std::string FindSubfolder(std::string const& root, std::vector<std::string> const& names);

} // namespace Halvorn

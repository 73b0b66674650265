#pragma once
// A finished download on its way from the temporary folder to the user's. It replaces nothing, and whatever
// happens meanwhile, the end of the process included, it is in the one place or the other. Thread-safe.

#include <string>
#include <vector>

namespace Halvorn {

/// A file that goes beside a download, such as a subtitle of it.
struct HVSideFile {
    std::string path;      ///< where it is
    std::string extension; ///< behind the download's name, without the first point: "fr.vtt"
};

struct HVFinishedFile {
    std::string path;      ///< where it is
    std::string folder;    ///< where it is to be
    std::string name;      ///< what it is to be called, without its extension
    std::string extension; ///< without the point
    std::vector<HVSideFile> sides;

    /// What a later start is told of the file.
    std::string Record() const;
    /// Takes folder, names and the side files, which are in `from`, of such a record; false where it is none.
    bool Load(std::string const& record, std::string const& from);
};

/// Where a file is now. Of `failure` and `target` one is empty.
struct HVPlacement {
    std::string target;
    std::vector<std::string> sides; ///< in their order; empty for one that could not be placed
    std::string failure;
    bool ended = false; ///< the process ended in the middle of the copy: a later start goes on
};

/// Puts the file into its folder, with a number behind its name where that is taken. It keeps the place that
/// it has until then also through the end of the process.
HVPlacement PlaceFinishedFile(HVFinishedFile const& file);
/// The same for a file that is kept already.
HVPlacement PutIntoFolder(HVFinishedFile const& file);

} // namespace Halvorn

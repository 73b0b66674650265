#pragma once
// Paths and files. All operations are static and may be called from any thread; those that touch the disk
// block. Paths are UTF-8 byte strings with "/" between components.

#include "IHVError.h"

#include <memory>
#include <string>

namespace Halvorn {

class IHVFileProvider {
public:
    /// Folder of the loaded module of this name; the folder of this library where no such module is loaded.
    static std::string GetModulePath(std::string const& moduleName);
    /// The process's private folder for temporary files, made at the first call with access for the user
    /// alone and removed at the end of the process, but for finished downloads; empty when it can't be made.
    static std::string GetTmpPath();
    /// Keeps a file of the temporary folder beyond the end of the process: a finished download that could not
    /// be placed.
    static void KeepTmpFile(std::string const& path);
    /// Removes every entry of the temporary folder whose name begins with `stem`, but for what is kept.
    static void RemoveTmpFiles(std::string const& stem);
    /// Whether there is a file or a folder of this path.
    static bool PathFileExist(std::string const& path);
    /// `path` and `component` with one separator between them.
    static std::string AppendPathComponent(std::string const& path, std::string const& component);
    /// `path`, ".", `extension`.
    static std::string AppendPathExtension(std::string const& path, std::string const& extension);
    /// `path` without its last extension. A point at the start of the name begins no extension.
    static std::string RemovePathExtension(std::string const& path);
    /// The extension, without the point, of the address's path; query and fragment don't count. Empty for
    /// none.
    static std::string URLExtension(std::string const& url);
    /// `length` random letters and digits, then "." and the extension unless that is empty.
    static std::string CreateRandomFileName(std::string const& extension, int length);
    /// Full path of a file in `directory` that does not exist and was not handed out before; it is reserved
    /// until the move or copy to it. Empty on failure.
    static std::string CreateUniquePathFile(std::string const& name, std::string const& extension,
                                            std::string const& directory);
    /// `name` altered so that it is a legal file name on every system: never empty, valid UTF-8, short enough
    /// to leave room for the extension and a number.
    static std::string MakeValidFilenameAtPath(std::string const& name, std::string const& extension,
                                               std::string const& directory);
    /// Moves a file: by a rename, or across file systems by a copy to a temporary name in the target's
    /// folder, so that the target is whole or absent at any moment. On failure the source stays and the error
    /// says where.
    static std::shared_ptr<IHVError const> MvFile(std::string const& source, std::string const& target,
                                                  bool overwrite);
    /// Copies a file, links followed, with its permissions, in the same careful manner.
    static std::shared_ptr<IHVError const> CpFile(std::string const& source, std::string const& target,
                                                  bool overwrite);
};

} // namespace Halvorn

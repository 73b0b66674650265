#pragma once
// What the file operations share beneath IHVFileProvider. Thread-safe.

#include "HVDescriptor.h"

#include <string>

namespace Halvorn {

/// Whether anything has this path, a link that leads nowhere included.
bool AnyEntryExists(std::string const& path);
/// Bytes that a name in the folder may have.
std::size_t LongestFileName(std::string const& folder);
/// What stands in front of the last "/" of the path: its folder, "." for none.
std::string FolderOfPath(std::string const& path);
/// Makes the folder and those above it, for the user alone. 0, or the error's number.
int MakeFolders(std::string const& folder);
/// The reason of a failed access, in words for a user.
std::string FileErrorReason(int error);
/// What is left of an extension that a site names when all goes that could lead to another folder or mean
/// something to the tool.
std::string LegalExtension(std::string const& extension);
/// Lets a name that CreateUniquePathFile handed out be handed out again.
void ReleaseFileReservation(std::string const& path);

} // namespace Halvorn

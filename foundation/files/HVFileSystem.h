#pragma once
// What the file operations share beneath IHVFileProvider. Thread-safe.

#include "HVDescriptor.h"

#include <cstdint>
#include <string>
#include <utility>

namespace Halvorn {

/// Whether anything has this path, a link that leads nowhere included.
bool AnyEntryExists(std::string const& path);
/// Whether the path leads to a folder.
bool IsFolder(std::string const& path);
/// Device and number of what the path leads to, the same for every path to it; zeros where there is nothing.
std::pair<std::uint64_t, std::uint64_t> IdentityOf(std::string const& path);
/// Reads a regular file of at most so many bytes. False for anything else: a pipe or a device could keep the
/// reader for ever.
bool ReadRegularFile(std::string const& path, std::size_t maxBytes, std::string& text);
/// Bytes that a name in the folder may have.
std::size_t LongestFileName(std::string const& folder);
/// What stands in front of the last "/" of the path: its folder, "." for none.
std::string FolderOfPath(std::string const& path);
/// The path as it means the same in every folder of the process; empty for an empty one.
std::string AbsolutePath(std::string const& path);
/// Makes the folder and those above it, for the user alone. 0, or the error's number.
int MakeFolders(std::string const& folder);
/// Why no file can be made in the folder, which is made itself where it is missing: the error's number, 0
/// where one can.
int FolderError(std::string const& folder);
/// Makes an empty file for the user alone. 0, or the error's number: EEXIST where something has the name.
int MakePrivateFile(std::string const& path);
/// The reason of a failed access, in words for a user.
std::string FileErrorReason(int error);
/// What tells the file of this path from another one that takes its place, or from itself before a change;
/// empty when there is none.
std::string FileIdentity(std::string const& path);
/// How long ago the entry was made, or last changed by anything: unlike its modification time, nobody can set
/// that. Negative when there is none.
std::int64_t SecondsSinceChange(std::string const& path);
/// What is left of an extension that a site names when all goes that could lead to another folder or mean
/// something to the tool.
std::string LegalExtension(std::string const& extension);
/// The end of a subtitle's file name, "fr.vtt", of a language and a format that a site names: each made legal
/// as names and extensions are, and short enough for the room that MakeValidFilenameAtPath leaves.
std::string LegalSideExtension(std::string const& side);

} // namespace Halvorn

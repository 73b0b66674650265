#pragma once
// Folders walked by open descriptors, so that a name exchanged for a link meanwhile leads nowhere else.

#include "HVFileSystem.h"

#include <functional>
#include <string>
#include <vector>

namespace Halvorn {

/// The folder `name` in the open folder `parent`; invalid when it is a link or no folder. AT_FDCWD is fine.
HVDescriptor OpenFolder(int parent, std::string const& name);
/// Names in the open folder, without "." and "..".
std::vector<std::string> EntriesOf(int folder);
/// Removes the entry and, of a folder, all below it. Links are removed, not followed.
void RemoveTree(int folder, std::string const& name);

} // namespace Halvorn

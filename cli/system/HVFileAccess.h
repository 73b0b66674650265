#pragma once
// What this process may do with a path. Each follows links and is false where nothing is there.

#include <string>

namespace Halvorn {

bool CanRead(std::string const& path);
bool CanRun(std::string const& path);
/// Whether files can be made in the folder.
bool CanWriteInto(std::string const& folder);

} // namespace Halvorn

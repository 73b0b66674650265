#pragma once
// Renames that say what they do about a name that is taken. Each returns 0 or the error's number.
// Thread-safe.

#include <string>

namespace Halvorn {

/// Renames; without `overwrite`, EEXIST where something has the name. Onto another link of the same file the
/// source's name goes, too.
int RenameFile(std::string const& source, std::string const& target, bool overwrite);

// The three ways to refuse an overwrite, best first. A file system may know none but the last.

/// One call of the system; EINVAL, ENOSYS, ENOTSUP or EPERM where there is none for this file system.
int RenameExclusive(std::string const& source, std::string const& target);
/// A second name, which can't be made in the place of another entry; then the first one goes.
int RenameByLink(std::string const& source, std::string const& target);
/// An empty file takes the name, which only one process can make, and is replaced.
int RenameOntoPlaceholder(std::string const& source, std::string const& target);

} // namespace Halvorn

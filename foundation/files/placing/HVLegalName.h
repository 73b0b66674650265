#pragma once
// What names of files and folders have in common. Thread-safe.

#include <cstddef>
#include <string>

namespace Halvorn {

/// `name` altered so that it is legal on every system, as IHVFileProvider::MakeValidFilenameAtPath makes it;
/// empty where nothing is left of it.
std::string LegalName(std::string const& name, std::string const& extension, std::string const& directory);
/// The characters of `text` that a name may hold, and "_" in place of some others.
std::string LegalNameText(std::string const& text);
/// Bytes that a name may have so that its extension and a number fit behind it.
std::size_t NameBudget(std::string const& extension, std::string const& directory);
/// `text` without what is beyond so many bytes, cut between code points.
std::string CutName(std::string const& text, std::size_t bytes);

} // namespace Halvorn

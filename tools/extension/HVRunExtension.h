#pragma once
// What each run of the tool loads from us, without a word in its argument list (tools/extension): the report
// of what it raises, and the guard that lets several runs share a cookies file. The tool finds it through
// PYTHONPATH. Thread-safe. A tool that ignores PYTHONPATH, such as one frozen into a binary, goes on in its
// own way.

#include <string>

namespace Halvorn {

class IHVDownloadOptions;

/// The folder for a run's PYTHONPATH, inside the process's temporary one. Empty where `exe` is no program for
/// Python and there is no cookies file to guard. Empty as well when it can't be written, which is logged
/// where it matters for `options`.
std::string RunExtensionFolder(std::string const& exe, IHVDownloadOptions const* options);

/// Whether the program is one for Python, the only kind that takes an extension: a script, or what a known
/// maker of single files has made of one. Another program would take our arguments in its own way.
bool IsForPython(std::string const& path);

} // namespace Halvorn

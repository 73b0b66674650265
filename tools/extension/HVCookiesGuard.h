#pragma once
// Lets several runs of the tool share a cookies file, without a word in their argument lists: they are run
// with an extension of ours (tools/extension), which the tool finds through PYTHONPATH. Thread-safe. A tool
// that ignores PYTHONPATH, such as one frozen into a binary, goes on in its own way.

#include <string>

namespace Halvorn {

class IHVDownloadOptions;

/// The folder for a run's PYTHONPATH, inside the process's temporary one. Empty where the run needs no
/// extension: without options, or without a cookies file in them. Empty, and logged, when it can't be
/// written.
std::string CookiesGuardFolder(IHVDownloadOptions const* options);

} // namespace Halvorn

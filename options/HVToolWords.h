#pragma once
// A site's words as the tool's own small languages take them. The tool reads a format as an expression
// ("best", "137+140", "mp4") and a subtitle's language as a pattern ("en.*", "all"), and a site may call a
// format or a language anything. Thread-safe.

#include <string>

namespace Halvorn {

class IHVDownloadFormat;

/// For "--format": the format of this code and no other. The code itself unless it means something else.
std::string ExactFormat(IHVDownloadFormat const& format);
/// The same for the sound alone of a merged format.
std::string ExactSound(IHVDownloadFormat const& format);
/// For "--sub-lang": the language of this code and no other. The code itself unless it means something else.
std::string ExactLanguage(std::string const& code);

} // namespace Halvorn

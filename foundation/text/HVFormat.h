#pragma once
// Texts made in the manner of printf from formats that may hold a stray "%".

#include "HVExport.h"

#include <cstdarg>
#include <string>

namespace Halvorn {

/// `format` with every "%" doubled that starts no complete conversion, and with every "%n" doubled: what
/// comes out is safe for vsnprintf and prints such a "%" as it stands.
std::string EscapeIncompleteConversions(char const* format);

/// The text of `format` and `args`, of any length; empty when it can't be made.
HV_PRINTF(1, 0)
std::string FormatText(char const* format, va_list args);

} // namespace Halvorn

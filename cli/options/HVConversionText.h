#pragma once
// What options say of conversions, as the library's record takes it.

#include <Reelhaul/IHVConversionOptions.h>

#include <string>

namespace Halvorn {

/// Takes a kind of sound, perhaps with ":QUALITY". Returns the fault.
std::string TakeAudio(IHVConversionOptions& options, std::string const& text);
/// Takes parts such as "10-20,1:30-2:00,300-". Returns the fault.
std::string TakeSections(IHVConversionOptions& options, std::string const& text);

} // namespace Halvorn

#pragma once
// Numbers to and from text with a decimal point whatever the application's locale is. Any thread.

#include <string>

namespace Halvorn {

/// `value` with exactly `decimals` digits behind the point, as "%.*f" writes it in the "C" locale.
std::string FixedText(double value, int decimals);

/// The decimal number that `text` begins with, behind leading white space; what follows it does not matter.
/// Throws as std::stof does: std::invalid_argument for no number, std::out_of_range for one too large.
float TextToFloat(std::string const& text);

} // namespace Halvorn

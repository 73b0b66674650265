#pragma once
// Passwords kept out of the log and of messages; out of whole texts: WithoutPasswords in HVDisplayText.h.
// Pure; may be called from any thread.

#include <string>
#include <vector>

namespace Halvorn {

/// The list as one printable line: "***" stands for passwords and two-factor codes, also for those inside
/// addresses, and for the command that prints a netrc file's text. An argument with blanks, quotes or control
/// characters, and an empty one, stands in double quotes.
std::string MaskedArguments(std::vector<std::string> const& args);

/// The address with "***" for a password in it.
std::string MaskedAddress(std::string const& address);

} // namespace Halvorn

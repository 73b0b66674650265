#pragma once
// Lists of addresses: files and standard input with one address a line.

#include <string>
#include <vector>

namespace Halvorn {

struct HVListedAddress {
    std::string url;
    std::string place; ///< "FILE:LINE" of the list that it stands in; empty for one of the command line
};

/// What stands for standard input, as a list's name and as an address.
constexpr char const* kStandardInput = "-";

/// Appends the addresses of the list `file`. As in the tool's own lists, blank lines are passed over, and
/// those that begin with "#", ";" or "]", and what follows a "#" behind a blank; lines may end as on any
/// system. Returns the fault, with the number of the line that has it; empty when there is none. What is no
/// text is refused at its first line, before more of it is read.
std::string ReadAddressList(std::string const& file, std::vector<HVListedAddress>& addresses);

/// The addresses of a command line, with those of the lists behind them; an address "-" becomes what standard
/// input holds. Returns the fault.
std::string CollectAddresses(std::vector<std::string> const& urls, std::vector<std::string> const& lists,
                             std::vector<HVListedAddress>& addresses);

} // namespace Halvorn

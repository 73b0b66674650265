#pragma once
// What the command asks of a terminal.

#include <cstddef>
#include <optional>
#include <string>

namespace Halvorn {

/// The numbers that the system knows the streams by.
enum class HVStream { Input = 0, Output = 1, Error = 2 };

struct HVTerminalSize {
    std::size_t columns;
    std::size_t rows;
};

/// Whether the stream is a terminal that understands cursor movements.
bool IsLiveTerminal(HVStream stream);
/// Whether the stream is a terminal of any kind.
bool IsTerminal(HVStream stream);
/// The present size of the terminal; 80 by 24 where it does not tell.
HVTerminalSize TerminalSize(HVStream stream);
/// Reads one line of standard input, which is not shown where that is a terminal: there `prompt` asks for it.
/// Empty at the end of the input. An interrupt puts the terminal back and ends the process with 130.
std::optional<std::string> ReadSecret(std::string const& prompt);

} // namespace Halvorn

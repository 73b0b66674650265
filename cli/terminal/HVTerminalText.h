#pragma once
// Text from outside on its way to a person: made harmless, measured and cut in columns of a terminal.
// All operations are pure.

#include <cstddef>
#include <string>
#include <string_view>

namespace Halvorn {

/// `text` as valid UTF-8: what is none becomes U+FFFD.
std::string ValidText(std::string_view text);

/// `text` as one line that does nothing to a terminal but show itself: no control sequences, no control
/// characters, no marks that turn the direction of writing, valid UTF-8. Line ends and tabs become blanks.
std::string PlainLine(std::string_view text);

/// Number of columns that the text takes: wide characters count two, combining ones none.
std::size_t DisplayWidth(std::string_view text);

/// `text`, cut to so many columns; what is cut ends in an ellipsis.
std::string CutToWidth(std::string_view text, std::size_t columns);

/// `text`, cut or filled with blanks to exactly so many columns.
std::string FitToWidth(std::string_view text, std::size_t columns);

} // namespace Halvorn

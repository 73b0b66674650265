#pragma once
// Small operations on texts. All are pure and may be called from any thread. Only ASCII has a meaning to
// them.

#include <string>
#include <vector>

namespace Halvorn {

class IHVStringHelper {
public:
    /// `text` without blanks, tabs, line ends, vertical tabs and form feeds at both ends.
    static std::string Trimmed(std::string const& text);
    /// ASCII letters in lower case, all else as it stands.
    static std::string ToLower(std::string const& text);
    /// The parts between the separators, empty ones included; but an empty last part, as behind a final
    /// newline, is left out, and an empty text has no parts.
    static std::vector<std::string> Split(std::string const& text, char separator);
    /// The parts with the separator between them.
    static std::string Join(std::vector<std::string> const& parts, char separator);
    /// True for a decimal number that std::stoi and std::stof can read: an optional sign, digits, and perhaps
    /// a point with further digits. False for one whose integer part does not fit an int.
    static bool IsNumberString(std::string const& text);
};

} // namespace Halvorn

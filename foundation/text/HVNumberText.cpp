#include "HVNumberText.h"

#include <limits>
#include <locale>
#include <sstream>
#include <stdexcept>

namespace Halvorn {

std::string FixedText(double value, int decimals) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream.setf(std::ios::fixed, std::ios::floatfield);
    stream.precision(decimals);
    stream << value;
    return stream.str();
}

// Not std::stof: it stops at the point where the locale has a comma.
float TextToFloat(std::string const& text) {
    std::size_t pos = text.find_first_not_of(" \t\n\r\v\f");
    bool const negative = pos != std::string::npos && text[pos] == '-';
    if (negative || (pos != std::string::npos && text[pos] == '+'))
        ++pos;
    double value = 0.0;
    double scale = 1.0;
    bool digits = false;
    bool point = false;
    for (; pos < text.size(); ++pos) {
        char const c = text[pos];
        if (c == '.' && !point) {
            point = true;
            continue;
        }
        if (c < '0' || c > '9')
            break;
        digits = true;
        // Digits beyond what a double can tell apart are left out, so that neither number grows endless.
        if (point && scale >= 1e17)
            continue;
        value = value * 10.0 + (c - '0');
        if (point)
            scale *= 10.0;
    }
    if (!digits)
        throw std::invalid_argument("TextToFloat");
    value /= scale;
    if (value > static_cast<double>(std::numeric_limits<float>::max()))
        throw std::out_of_range("TextToFloat");
    return static_cast<float>(negative ? -value : value);
}

} // namespace Halvorn

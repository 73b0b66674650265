#include "IHVStringHelper.h"

#include <limits>

namespace Halvorn {

namespace {

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

std::size_t SkipDigits(std::string const& text, std::size_t from) {
    while (from < text.size() && IsDigit(text[from]))
        ++from;
    return from;
}

/// Whether the digits in [from, to) make a number of this sign that an int can hold.
bool FitsInt(std::string const& text, std::size_t from, std::size_t to, bool negative) {
    long long const limit = static_cast<long long>(std::numeric_limits<int>::max()) + (negative ? 1 : 0);
    long long value = 0;
    for (; from < to; ++from) {
        value = value * 10 + (text[from] - '0');
        if (value > limit)
            return false;
    }
    return true;
}

} // namespace

std::string IHVStringHelper::Trimmed(std::string const& text) {
    char const* const space = " \t\n\r\v\f";
    std::size_t const first = text.find_first_not_of(space);
    if (first == std::string::npos)
        return {};
    return text.substr(first, text.find_last_not_of(space) - first + 1);
}

std::string IHVStringHelper::ToLower(std::string const& text) {
    std::string result = text;
    for (char& c : result) {
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    }
    return result;
}

std::vector<std::string> IHVStringHelper::Split(std::string const& text, char separator) {
    std::vector<std::string> parts;
    for (std::size_t from = 0; from < text.size();) {
        std::size_t const found = text.find(separator, from);
        std::size_t const to = found == std::string::npos ? text.size() : found;
        parts.emplace_back(text, from, to - from);
        from = to + 1;
    }
    return parts;
}

std::string IHVStringHelper::Join(std::vector<std::string> const& parts, char separator) {
    std::string result;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (i > 0)
            result += separator;
        result += parts[i];
    }
    return result;
}

bool IHVStringHelper::IsNumberString(std::string const& text) {
    bool const negative = !text.empty() && text[0] == '-';
    std::size_t const start = negative || (!text.empty() && text[0] == '+') ? 1 : 0;
    std::size_t const point = SkipDigits(text, start);
    if (point == start || !FitsInt(text, start, point, negative))
        return false;
    if (point == text.size())
        return true;
    std::size_t const end = text[point] == '.' ? SkipDigits(text, point + 1) : 0;
    return end == text.size() && end > point + 1;
}

} // namespace Halvorn

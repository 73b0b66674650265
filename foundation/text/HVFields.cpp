#include "HVFields.h"

#include "HVNumberText.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

namespace Halvorn {

namespace {

constexpr int kDigits = 6;

std::string Plain(std::string_view value) {
    std::string plain;
    plain.reserve(value.size());
    for (std::size_t at = 0; at < value.size(); ++at) {
        bool const escaped = value[at] == '\\' && at + 1 < value.size();
        if (!escaped)
            plain += value[at];
        else
            plain += value[++at] == 'n' ? '\n' : value[at];
    }
    return plain;
}

} // namespace

HVFields::HVFields(std::string_view text) {
    while (!text.empty()) {
        std::string_view const line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(text.size(), line.size() + 1));
        if (std::size_t const sign = line.find('='); sign != std::string_view::npos)
            values_.emplace_back(line.substr(0, sign), Plain(line.substr(sign + 1)));
    }
}

void HVFields::SetText(std::string_view name, std::string_view value) {
    if (value.empty())
        return;
    text_.append(name).append("=");
    for (char const c : value) {
        if (c == '\\' || c == '\n')
            text_ += '\\';
        text_ += c == '\n' ? 'n' : c;
    }
    text_ += '\n';
}

void HVFields::SetInteger(std::string_view name, std::int64_t value) {
    if (value != 0)
        SetText(name, std::to_string(value));
}

void HVFields::SetReal(std::string_view name, double value) {
    if (value != 0)
        SetText(name, FixedText(value, kDigits));
}

std::string HVFields::Get(std::string_view name) const {
    auto const found = std::find_if(values_.begin(), values_.end(),
                                    [name](auto const& value) { return value.first == name; });
    return found == values_.end() ? std::string() : found->second;
}

std::int64_t HVFields::Integer(std::string_view name) const {
    std::string const text = Get(name);
    std::int64_t value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

float HVFields::Real(std::string_view name) const {
    try {
        return TextToFloat(Get(name));
    } catch (std::logic_error const&) {
        return 0;
    }
}

} // namespace Halvorn

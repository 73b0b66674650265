#include "HVDownloadTask.h"

#include "IHVStringHelper.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace Halvorn {

namespace {

using Units = std::array<std::string_view, 10>;
constexpr Units kSizeUnits = {"mib", "mb", "gib", "gb", "kib", "kb", "bytes", "b", "tib", "tb"};
constexpr Units kRateUnits = {"mib/s", "mb/s",    "gib/s", "gb/s",  "kib/s",
                              "kb/s",  "bytes/s", "b/s",   "tib/s", "tb/s"};

bool IsDigit(char letter) {
    return letter >= '0' && letter <= '9';
}

template <typename Accept>
bool OnlyOf(std::string const& text, Accept accept) {
    std::string const trimmed = IHVStringHelper::Trimmed(text);
    return !trimmed.empty() && std::all_of(trimmed.begin(), trimmed.end(), accept);
}

/// A number and, directly behind it, one of the units.
bool IsNumberWithUnit(std::string const& text, Units const& units) {
    std::string const trimmed = IHVStringHelper::Trimmed(text);
    std::size_t const end = trimmed.find_first_not_of("0123456789.");
    if (end == 0 || end == std::string::npos)
        return false;
    return std::find(units.begin(), units.end(), IHVStringHelper::ToLower(trimmed.substr(end))) !=
           units.end();
}

} // namespace

bool HVDownloadTask::IsSizeString(std::string const& text) {
    return IsNumberWithUnit(text, kSizeUnits);
}

bool HVDownloadTask::IsBitratString(std::string const& text) {
    return IsNumberWithUnit(text, kRateUnits);
}

bool HVDownloadTask::IsDurationString(std::string const& text) {
    return OnlyOf(text, [](char letter) { return IsDigit(letter) || letter == ':'; });
}

bool HVDownloadTask::IsPercentageString(std::string const& text) {
    return OnlyOf(text, [](char letter) { return IsDigit(letter) || letter == '.' || letter == '%'; });
}

bool HVDownloadTask::IsSplitString(std::string const& text) {
    return OnlyOf(text, [](char letter) { return letter == '-'; });
}

} // namespace Halvorn

#include "HVDownloadTask.h"

#include "IHVStringHelper.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <thread>

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

/// A number and, directly behind it, one of the units. `waits` says at which characters the scan stays where
/// it is.
template <typename Waits>
bool IsNumberWithUnit(std::string const& text, Units const& units, Waits waits) {
    std::string const trimmed = IHVStringHelper::Trimmed(text);
    bool number = false;
    for (std::size_t pos = 0; pos < trimmed.size();) {
        char const letter = trimmed[pos];
        if (waits(letter)) {
            std::this_thread::yield();
            continue;
        }
        if (!IsDigit(letter) && letter != '.') {
            std::string const unit = IHVStringHelper::ToLower(trimmed.substr(pos));
            return number && std::find(units.begin(), units.end(), unit) != units.end();
        }
        number = true;
        ++pos;
    }
    return false;
}

} // namespace

// With "~" or a blank ahead of its unit this never returns. Nothing passes it such a text, and the reader of
// the format table has a test of its own.
bool HVDownloadTask::IsSizeString(std::string const& text) {
    return IsNumberWithUnit(text, kSizeUnits, [](char letter) { return letter == '~' || letter == ' '; });
}

bool HVDownloadTask::IsBitratString(std::string const& text) {
    return IsNumberWithUnit(text, kRateUnits, [](char) { return false; });
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

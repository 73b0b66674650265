#include "HVConversionText.h"

#include "HVChoice.h"

#include <Reelhaul/IHVError.h>

#include <algorithm>
#include <optional>
#include <string_view>
#include <vector>

namespace Halvorn {

namespace {

std::string FaultOf(IHVError const& outcome) {
    return outcome.Succeed() ? std::string() : outcome.GetErrorMessage();
}

/// Seconds or a time such as "1:30", perhaps with a point and up to three digits.
std::optional<double> MomentOf(std::string_view text) {
    constexpr std::size_t kMostDigits = 3;
    constexpr double kThousandths = 1000;
    auto const point = std::min(text.find('.'), text.size());
    auto const whole = SecondsOf(text.substr(0, point));
    std::string digits(text.substr(std::min(point + 1, text.size())));
    if (!whole || digits.size() > kMostDigits || (point < text.size() && digits.empty()))
        return std::nullopt;
    digits.resize(kMostDigits, '0');
    auto const part = WholeNumber(digits);
    return part ? std::optional(*whole + *part / kThousandths) : std::nullopt;
}

} // namespace

std::string TakeAudio(IHVConversionOptions& options, std::string const& text) {
    auto const colon = std::min(text.find(':'), text.size());
    int quality = IHVConversionOptions::HVDefaultAudioQuality;
    if (colon < text.size()) {
        std::string digits = text.substr(colon + 1);
        // As users of the tool write kbit/s.
        if (digits.ends_with('K') || digits.ends_with('k'))
            digits.pop_back();
        auto const number = WholeNumber(digits);
        if (!number)
            return "the quality must be 0 (best) to 10, or kbit/s such as 192, not \"" +
                   text.substr(colon + 1) + "\"";
        quality = *number;
    }
    return FaultOf(*options.SetAudio(text.substr(0, colon), quality));
}

std::string TakeSections(IHVConversionOptions& options, std::string const& text) {
    std::vector<HVSection> sections;
    for (std::size_t begin = 0; begin <= text.size();) {
        std::size_t const end = std::min(text.find(',', begin), text.size());
        std::string const part = text.substr(begin, end - begin);
        auto const hyphen = std::min(part.find('-'), part.size());
        std::string const to = part.substr(std::min(hyphen + 1, part.size()));
        auto const from = MomentOf(part.substr(0, hyphen));
        auto const until = to.empty() || to == "inf" ? std::optional(0.0) : MomentOf(to);
        // 0 stands for the end.
        if (hyphen == part.size() || !from || !until || (*until <= 0 && !to.empty() && to != "inf"))
            return "must be parts such as 10-20,1:30-2:00 or 300-, not \"" + text + "\"";
        sections.push_back({*from, *until});
        begin = end + 1;
    }
    return FaultOf(*options.SetSections(sections));
}

} // namespace Halvorn

#include "HVFormatSet.h"

#include <functional>
#include <initializer_list>
#include <string>
#include <utility>

namespace Halvorn {

namespace {

std::size_t HashOf(IHVDownloadFormat const& format) {
    std::size_t result = std::hash<unsigned long long>()(format.Size());
    auto const mix = [&result](std::size_t hash) { result = result * 31 + hash; };
    for (std::string const& text : {format.Extension(), format.Resolution(), format.TBR(),
                                    format.VideoCodecName(), format.AudioCodecName(), format.MoreInfo()})
        mix(std::hash<std::string>()(text));
    mix(std::hash<int>()(format.Width()));
    mix(std::hash<int>()(format.Height()));
    return result;
}

} // namespace

void HVFormatSet::Add(std::shared_ptr<IHVDownloadFormat> format) {
    std::size_t const hash = HashOf(*format);
    auto const [begin, end] = byHash_.equal_range(hash);
    for (auto candidate = begin; candidate != end; ++candidate)
        if (*format == candidate->second)
            return;
    byHash_.emplace(hash, format.get());
    formats_.push_back(std::move(format));
}

} // namespace Halvorn

#include "HVJsonObjectSubtitle.h"

#include <utility>

namespace Halvorn {

HVJsonObjectSubtitle::HVJsonObjectSubtitle(HVJsonNode node) : node_(std::move(node)) {}

std::string HVJsonObjectSubtitle::Getlanguage() const {
    return {};
}

std::string HVJsonObjectSubtitle::GetName(std::string const& language) const {
    if (ReadArrayCount(node_, language) < 1)
        return {};
    std::string name = ReadString(ReadArrayItem(node_, language, 0), "name");
    return name.empty() ? language : name;
}

std::map<std::string, std::string> HVJsonObjectSubtitle::GetFormatAndUrls(std::string const& language) const {
    std::map<std::string, std::string> formats;
    int const count = ReadArrayCount(node_, language);
    for (int i = 0; i < count; ++i) {
        HVJsonNode const format = ReadArrayItem(node_, language, i);
        formats[ReadString(format, "ext")] = ReadString(format, "url");
    }
    return formats;
}

} // namespace Halvorn

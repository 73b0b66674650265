#include "HVItemIdentity.h"

#include "IHVStringHelper.h"

#include <algorithm>
#include <utility>

namespace Halvorn {

void HVItemIdentity::AddOwn(std::string identity) {
    if (!identity.empty() && std::find(own.begin(), own.end(), identity) == own.end())
        own.push_back(std::move(identity));
}

std::string IdentityText(std::string const& extractor, std::string const& id) {
    if (extractor.empty() || id.empty())
        return {};
    std::string text = IHVStringHelper::ToLower(extractor) + " " + id;
    // One line of a file, whatever a site calls its items.
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c == '\n' || c == '\r' || c == '\0'; }, ' ');
    return text;
}

} // namespace Halvorn

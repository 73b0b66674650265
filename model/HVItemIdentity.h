#pragma once
// Who an item is, in the words of the tool's own archive: "extractor id".

#include <string>
#include <vector>

namespace Halvorn {

struct HVItemIdentity {
    std::vector<std::string> own;    ///< the item's, and that of the entry that led to it
    std::vector<std::string> former; ///< under which the tool knew it before

    /// Also that of an entry; passes over what is empty or among them.
    void AddOwn(std::string identity);
};

/// Empty where one of the two is. `extractor` is the tool's key of it.
std::string IdentityText(std::string const& extractor, std::string const& id);

} // namespace Halvorn

#pragma once
/// \file
/// What the tool's flat listing says of one entry of a list, before the entry is loaded.

#include <string>

namespace Halvorn {

/// One entry of a list. A plain value: copies are independent of each other. Texts are a site's, as they
/// came; what the listing does not tell is empty or 0, and many sites tell little.
struct HVListEntry {
    /// What an entry is.
    enum Kind : int {
        Item = 0, ///< one thing that can be downloaded, or what nothing tells to be a list
        List = 1  ///< a list itself, such as a tab of a channel
    };

    int number = 0;        ///< place in its list, from 1
    int level = 0;         ///< 0 for an entry of the list that was asked for, 1 for one of a list inside it
    Kind kind = Item;      ///< a list can't be downloaded, but what is in it
    bool whole = false;    ///< the listing holds the whole item: loading it takes no run of the tool
    std::string title;     ///< as the list has it; the item's own may differ
    std::string url;       ///< its own address; empty for one that is reached through its list alone
    std::string id;        ///< the site's identifier
    std::string extractor; ///< the tool's name of the site; with `id` the identity of the entry
    std::string thumbnailURL; ///< a picture, the best that the listing names
    std::string date;         ///< "YYYYMMDD"
    int durationSeconds = 0;  ///< whole seconds
    int entryCount = 0;       ///< of a list: how many entries it has
};

} // namespace Halvorn

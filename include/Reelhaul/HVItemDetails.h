#pragma once
/// \file
/// What the tool's document says of an item besides its formats.

#include <string>
#include <vector>

namespace Halvorn {

/// A part of an item.
struct HVChapter {
    double start = 0;  ///< seconds from the start of the item
    double end = 0;    ///< the same
    std::string title; ///< what the site calls the part
};

/// Plain values; texts are a site's, as they came. What the document does not tell is empty or 0, and so is
/// everything after an analysis from tables.
struct HVItemDetails {
    std::string extractor;  ///< the tool's name of the site
    std::string id;         ///< the site's identifier: with `extractor` it tells an item under two addresses
    std::string webpageURL; ///< the page of the item; where it has none of its own, that of its list
    std::string uploader;   ///< who put it there
    std::string uploadDate; ///< "YYYYMMDD"
    std::vector<HVChapter> chapters; ///< in their order
    std::string description;         ///< may have several lines
    std::string playlistTitle;       ///< of the list that the item was loaded from
    int playlistPosition = 0;        ///< its place there, from 1
};

} // namespace Halvorn

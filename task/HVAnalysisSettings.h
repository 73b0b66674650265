#pragma once
// What an application asked of an analysis beyond the plain one; see IHVDownloadTask.

#include "HVEntryLanes.h"
#include "HVListEntry.h"

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace Halvorn {

class IHVError;
class IHVPlayList;

struct HVAnalysisSettings {
    bool full = false;
    bool thumbnailBytes = true;
    bool thumbnailsByHTTP = false;
    bool webP = false;
    bool documents = false;
    bool forDownload = false;
    bool tablesWhereNoJson = false;
    int listDepth = 0;
    HVEntryLanes::Limits lanes;
    int newest = 0; ///< of the entries of a list; 0 or less for all
    /// First and last number, from 1, or from the end if negative; a last one of 0 means the end. Empty for
    /// all.
    std::vector<std::pair<int, int>> ranges;
    std::function<bool(HVListEntry const&)> filter;
    std::function<void(std::shared_ptr<IHVPlayList const>, std::vector<HVListEntry> const&)> list;
};

} // namespace Halvorn

#pragma once
// The analysis of one item that a download begins with: as the full analysis of IHVDownloadTask, but waited
// for.

#include "IHVError.h"

#include <memory>
#include <string>

namespace Halvorn {

class HVDownloadItem;
class HVDownloadTask;

struct HVFoundItem {
    std::shared_ptr<HVDownloadItem> item;  ///< empty on a failure
    std::shared_ptr<IHVError const> error; ///< empty where there is an item
};

/// Analyses the address on the calling thread, which is the worker of `asker`: with its options and its JS
/// runtime, until it is stopped. `entry` is the entry of the list at the address, from 0; below 0 the address
/// is to lead to a single item, and a list of several is a failure. The item keeps its document for its
/// download.
HVFoundItem LookUpItem(HVDownloadTask& asker, std::string const& address, int entry);

} // namespace Halvorn

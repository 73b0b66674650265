#pragma once
// An item as it is kept over restarts: who it is, and what is chosen of it. What else its analysis found,
// other formats and the addresses of its media, is not kept: that is out of date within hours, and may be
// secret. Pure; any thread that may read the item.

#include "IHVDownloadItem.h"

#include <memory>
#include <string>
#include <string_view>

namespace Halvorn {

/// The item without its file name.
std::string ItemRecord(IHVDownloadItem const& item);
/// The item of such a record, with the chosen format and subtitles alone.
std::shared_ptr<IHVDownloadItem> ItemOfRecord(std::string_view record, std::string const& name);

} // namespace Halvorn

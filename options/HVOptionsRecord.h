#pragma once
// A bundle of options as it is kept over restarts: all but its secrets. Any thread that may read the bundle.

#include "IHVDownloadOptions.h"

#include <memory>
#include <string>
#include <string_view>

namespace Halvorn {

/// Empty for no bundle. `needs` gets what the bundle holds and the record does not: HVKeptNeed.
std::string OptionsRecord(IHVDownloadOptions const* options, int& needs);
/// The bundle of such a record; empty for an empty one. Adds to `needs` what is not there any more.
std::shared_ptr<IHVDownloadOptions> OptionsOfRecord(std::string_view record, int& needs);

} // namespace Halvorn

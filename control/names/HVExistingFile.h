#pragma once
// The file that has the name which a download would give now.

#include <string>

namespace Halvorn {

class IHVDownloadItem;
struct HVConversion;

/// Its path; empty when the name is free. `nameTemplate` is that of HVNameTemplate, empty for the item's
/// name. Looks at the disk.
std::string ExistingFile(IHVDownloadItem const& item, HVConversion const& conversion,
                         std::string const& nameTemplate, std::string const& folder);

} // namespace Halvorn

#pragma once
// Where the partial data of a download is: the same place for the same item, format and target.

#include "HVPartialFolder.h"
#include "HVResumeSettings.h"

#include <memory>
#include <string>

namespace Halvorn {

class IHVDownloadItem;

/// The folder with the partial data of all downloads into `outputPath`.
std::string PartialParent(HVResumeSettings const& settings, std::string const& outputPath);
/// The name of this download's own folder in it.
std::string PartialName(IHVDownloadItem& item, std::string const& outputPath);

} // namespace Halvorn

#pragma once
// Where the partial data of a download is: the same place for the same item, format and target.

#include "HVPartialFolder.h"
#include "HVResumeSettings.h"

#include <memory>
#include <string>

namespace Halvorn {

class IHVDownloadItem;
class IHVDownloadOptions;

/// The folder with the partial data of all downloads into `outputPath`.
std::string PartialParent(HVResumeSettings const& settings, std::string const& outputPath);
/// The name of this download's own folder in it. What is converted has another one than what is not.
std::string PartialName(IHVDownloadItem& item, std::string const& outputPath,
                        IHVDownloadOptions const* options);

} // namespace Halvorn

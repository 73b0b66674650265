#include "HVExistingFile.h"

#include "HVConversion.h"
#include "HVFileSystem.h"
#include "HVParsedName.h"
#include "HVSubfolder.h"
#include "IHVDownloadItem.h"
#include "IHVFileProvider.h"

#include <utility>

namespace Halvorn {

std::string ExistingFile(IHVDownloadItem const& item, HVConversion const& conversion,
                         std::string const& nameTemplate, std::string const& folder) {
    if (folder.empty())
        return {};
    std::string const extension = ConvertedExtension(conversion, item);
    HVItemPath path;
    if (nameTemplate.empty())
        path.name = IHVFileProvider::MakeValidFilenameAtPath(item.GetFileName(), extension, folder);
    else
        path = HVParsedName(nameTemplate).PathOf(item, extension, folder);
    std::string const place = FindSubfolder(folder, path.folders);
    if (place.empty())
        return {};
    std::string file = IHVFileProvider::AppendPathComponent(place, path.name);
    if (conversion.Files() > 1)
        file += " - 001";
    if (std::string const legal = LegalExtension(extension); !legal.empty())
        file = IHVFileProvider::AppendPathExtension(file, legal);
    return IHVFileProvider::PathFileExist(file) ? file : std::string();
}

} // namespace Halvorn

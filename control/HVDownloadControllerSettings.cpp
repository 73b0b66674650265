// What a controller hands to each new run.

#include "HVDownloadController.h"

#include "HVConversion.h"
#include "HVDownloadItem.h"
#include "HVDownloadTaskDownload.h"
#include "HVFileSystem.h"
#include "HVParsedName.h"
#include "HVQueueKeeper.h"
#include "HVStartPacer.h"
#include "HVSubfolder.h"
#include "HVTotalRate.h"
#include "IHVDownloadArchive.h"
#include "IHVDownloadItem.h"
#include "IHVFileProvider.h"

#include <utility>

namespace Halvorn {

void HVDownloadController::HandSettings(HVDownloadTask& task) const {
    task.SetJSRuntimePath(Get(jsRuntimePath_));
    if (auto* const download = dynamic_cast<HVDownloadTaskDownload*>(&task)) {
        if (auto const settings = Get(resume_))
            download->SetResume(*settings);
        download->SetNameTemplate(Get(nameTemplate_));
        download->SetArchive(Get(archive_));
        download->SetMetadataFiles(Get(metadata_));
        if (auto const keeper = Get(keeper_))
            download->SetBeforePlacing([keeper](std::string const& path, std::string const& folder) {
                keeper->FileIsWhole(path, folder);
            });
        download->SetPacer(Get(pacer_));
        download->SetTotalRate(Get(totalRate_));
    }
    if (auto options = Get(options_))
        task.SetOptions(std::move(options));
    task.TakeOptionsForSite(Get(chooseOptions_));
}

std::string HVDownloadController::FindExisting() const {
    std::string const folder = Get(outputPath_);
    if (item_ == nullptr || folder.empty())
        return {};
    HVConversion const conversion = ConversionOf(Get(options_).get());
    std::string const extension = ConvertedExtension(conversion, *item_);
    HVItemPath path;
    if (std::string const text = Get(nameTemplate_); text.empty())
        path.name = IHVFileProvider::MakeValidFilenameAtPath(item_->GetFileName(), extension, folder);
    else
        path = HVParsedName(text).PathOf(*item_, extension, folder);
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

/// The item as it is chosen now. The application may choose another format or subtitle for another controller
/// of the same item at any time from here on.
std::shared_ptr<IHVDownloadItem> HVDownloadController::TakeChoice() const {
    auto const* const item = dynamic_cast<HVDownloadItem const*>(item_.get());
    auto choice = item == nullptr ? item_ : item->CopyForRun();
    if (auto const keeper = Get(keeper_); keeper != nullptr && choice != nullptr)
        keeper->ItemChanged(*choice);
    return choice;
}

} // namespace Halvorn

// What a controller hands to each new run.

#include "HVDownloadController.h"

#include "HVConversion.h"
#include "HVDownloadItem.h"
#include "HVDownloadTaskDownload.h"
#include "HVExistingFile.h"
#include "HVQueueKeeper.h"
#include "HVStartPacer.h"
#include "HVTotalRate.h"
#include "IHVDownloadArchive.h"
#include "IHVDownloadItem.h"

#include <utility>

namespace Halvorn {

namespace {

/// Empty where no format is chosen.
std::string ChosenCode(IHVDownloadItem const& item) {
    auto const format = item.GetCurrentDownloadFormat();
    return format == nullptr ? std::string() : format->FormatCode();
}

} // namespace

void HVDownloadController::HandSettings(HVDownloadTask& task) {
    task.SetJSRuntimePath(Get(jsRuntimePath_));
    if (auto* const download = dynamic_cast<HVDownloadTaskDownload*>(&task)) {
        if (auto const settings = Get(resume_))
            download->SetResume(*settings);
        download->SetNameTemplate(Get(nameTemplate_));
        HVRowSettings const settings = Settings();
        download->SetArchive(settings.archive);
        download->SetMetadataFiles(settings.metadata);
        download->SetSkips(settings.skips);
        if (settings.wish.has_value() || Get(keeper_) != nullptr)
            download->SetAnalysis(
                {settings.wish, [weak = weak_from_this()](HVDownloadItem const& item, std::string former) {
                     if (auto const controller = weak.lock())
                         controller->TakeFound(item, std::move(former));
                 }});
        if (auto const keeper = Get(keeper_))
            download->SetBeforePlacing([keeper](std::string const& path, std::string const& folder) {
                return keeper->FileIsWhole(path, folder);
            });
        download->SetPacer(Get(pacer_));
        download->SetTotalRate(Get(totalRate_));
    }
    if (auto options = Get(options_))
        task.SetOptions(std::move(options));
    task.TakeOptionsForSite(Get(chooseOptions_));
}

std::string HVDownloadController::FindExisting() const {
    auto const item = Subject();
    return item == nullptr
               ? std::string()
               : ExistingFile(*item, ConversionOf(Get(options_).get()), Get(nameTemplate_), Get(outputPath_));
}

void HVDownloadController::ChangeSettings(std::function<void(HVRowSettings&)> const& change) {
    HVRowSettings former; // goes after the lock
    std::lock_guard const lock(mutex_);
    former = settings_;
    change(settings_);
    if (keeper_ != nullptr)
        keeper_->SettingsChanged(settings_);
}

void HVDownloadController::SetArchiveOfRuns(std::shared_ptr<IHVDownloadArchive> archive) {
    ChangeSettings([&archive](HVRowSettings& settings) { settings.archive.swap(archive); });
}

void HVDownloadController::SetMetadata(HVMetadataFiles const& files) {
    ChangeSettings([&files](HVRowSettings& settings) { settings.metadata = files; });
}

void HVDownloadController::SetSkipsOfRuns(int skips) {
    ChangeSettings([skips](HVRowSettings& settings) { settings.skips = skips; });
}

void HVDownloadController::SetWish(HVFormatWish const& wish) {
    ChangeSettings([&wish](HVRowSettings& settings) { settings.wish = wish; });
}

HVDownloadSkip HVDownloadController::SkippedNow() const {
    std::lock_guard const lock(mutex_);
    auto const* const task = dynamic_cast<HVDownloadTaskDownload const*>(task_.get());
    return task == nullptr ? HVDownloadSkipNone : task->Skipped();
}

/// Takes what a run has found out about the item, and has it stored.
void HVDownloadController::TakeFound(HVDownloadItem const& item, std::string former) {
    if (item_->GetFileName() == kUnknownName)
        item_->SetFileName(item.GetFileName());
    auto copy = item.CopyForRun();
    copy->TakeDocument(nullptr); // it would last as long as the row
    if (auto const keeper = Get(keeper_))
        keeper->ItemChanged(*copy);
    Set(found_, Found{std::move(copy), std::move(former)});
}

std::shared_ptr<IHVDownloadItem> HVDownloadController::Subject() const {
    Found const found = Get(found_);
    if (found.item == nullptr || found.format != ChosenCode(*item_))
        return item_;
    found.item->SetFileName(item_->GetFileName());
    return found.item;
}

/// The item as it is chosen now. The application may choose another format or subtitle for another controller
/// of the same item at any time from here on.
std::shared_ptr<IHVDownloadItem> HVDownloadController::TakeChoice() const {
    auto const subject = Subject();
    auto const* const item = dynamic_cast<HVDownloadItem const*>(subject.get());
    auto choice = item == nullptr ? item_ : item->CopyForRun();
    if (auto const keeper = Get(keeper_); keeper != nullptr && choice != nullptr)
        keeper->ItemChanged(*choice);
    return choice;
}

} // namespace Halvorn

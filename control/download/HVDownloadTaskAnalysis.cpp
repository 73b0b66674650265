// How a run asks the site for a format by itself, and how it finds that there is nothing to fetch.

#include "HVApplicationCall.h"
#include "HVDownloadItem.h"
#include "HVDownloadTaskDownload.h"
#include "HVExistingFile.h"
#include "HVExplainedError.h"
#include "HVFormatChoice.h"
#include "HVItemLookUp.h"
#include "HVPartialData.h"
#include "IHVDownloadArchive.h"
#include "IHVLogConfig.h"

#include <utility>

namespace Halvorn {

namespace {

constexpr char kFile[] = "HVDownloadTaskDownload";
constexpr char kFunction[] = "Analyse";
/// Seconds between two looks at whether another download of the item has ended.
constexpr double kClaimLook = 0.5;

/// A list may have got new entries in front since the item was one of it.
bool IsAnother(HVItemDetails const& known, HVItemDetails const& found) {
    return !known.id.empty() && !found.id.empty() &&
           (known.id != found.id || known.extractor != found.extractor);
}

std::shared_ptr<IHVDownloadFormat> FormatFor(IHVDownloadItem const& item, HVItemAnalysis const& analysis,
                                             IHVDownloadFormat const* former, bool soundIsEnough) {
    if (former != nullptr)
        if (auto same = item.FormatWithCode(former->FormatCode()))
            return same;
    if (!analysis.wish.has_value() && former != nullptr)
        return HVFormatChoice::Nearest(item, *former);
    HVFormatWish wish = analysis.wish.value_or(HVFormatWish());
    if (soundIsEnough) {
        HVFormatWish sound = wish;
        sound.audioOnly = true;
        if (auto format = item.BestFormat(sound))
            return format;
    }
    return item.BestFormat(wish);
}

} // namespace

bool HVDownloadTaskDownload::NeedsAnalysis() const {
    auto const* const item = dynamic_cast<HVDownloadItem const*>(downloadItem_.get());
    if (!analysis_.has_value() || item == nullptr)
        return false;
    // A place in a list may be another item's by now.
    bool const placeOnly = item->DownloadURL().empty() && item->Document() == nullptr;
    return placeOnly || item->GetCurrentDownloadFormat() == nullptr;
}

bool HVDownloadTaskDownload::MayChooseAnew(IHVError const& failure) const {
    return analysis_.has_value() && failure.GetKind() == HVErrorKindFormatUnavailable && !UserCancel() &&
           dynamic_cast<HVDownloadItem const*>(downloadItem_.get()) != nullptr;
}

std::shared_ptr<IHVError const> HVDownloadTaskDownload::Analyse() {
    auto& item = dynamic_cast<HVDownloadItem&>(*downloadItem_);
    TrackPhase(HVDownloadPhaseAsking);
    auto const found =
        LookUpItem(*this, ItemAddress(), item.DownloadURL().empty() ? item.GetEntryIndexOfPlayList() : -1);
    if (found.item == nullptr)
        return found.error;
    if (item.DownloadURL().empty() && IsAnother(*item.ItemDetails(), *found.item->ItemDetails()))
        return FaultError(kFile, __LINE__, kFunction,
                          "Another item stands at this place of the list now. Analyse the list again, and "
                          "choose the item there.",
                          FaultOfKind(HVErrorKindGone));
    auto const former = item.GetCurrentDownloadFormat();
    auto const format = FormatFor(*found.item, *analysis_, former.get(), !conversion_.audio.empty());
    if (format == nullptr)
        return FaultError(kFile, __LINE__, kFunction,
                          "The site has no format of the wished kind. Choose another one.",
                          FaultOfKind(HVErrorKindFormatUnavailable));
    if (former != nullptr && former->FormatCode() != format->FormatCode()) {
        IHVLogConfig::Printf("The site no longer has format %s; %s comes nearest.",
                             former->FormatCode().c_str(), format->FormatCode().c_str());
        formerPartial_ = PartialName(item, outputPath_, GetOptions().get());
    }
    item.TakeAnalysis(*found.item);
    item.ChooseFormat(format);
    live_ = item.IsLiveStream();
    BeginProgress();
    if (analysis_->found)
        analysis_->found(item, former == nullptr ? std::string() : former->FormatCode());
    return IHVError::MallocSucceed(kFile, __LINE__, kFunction);
}

/// What was fetched of a format that the site no longer has can't be gone on with.
void HVDownloadTaskDownload::DropFormerPartial() const {
    if (formerPartial_.empty() || !MayResume())
        return;
    bool inUse = false;
    auto const partial = HVPartialFolder::Open(PartialParent(*resume_, outputPath_), formerPartial_, inUse);
    if (partial != nullptr)
        partial->Remove();
}

/// Of several that would download what the archive does not know yet one does, and the others wait to see
/// what comes of it: it may fail. False where a stop ends the wait.
bool HVDownloadTaskDownload::ClaimItem() {
    if ((skips_ & HVDownloadSkipArchived) == 0 || archive_ == nullptr)
        return true;
    while (!archive_->Claim(*downloadItem_)) {
        TrackPhase(HVDownloadPhaseWaiting);
        if (!Sleep(kClaimLook))
            return false;
    }
    return true;
}

void HVDownloadTaskDownload::ReleaseItem() {
    if ((skips_ & HVDownloadSkipArchived) != 0 && archive_ != nullptr)
        archive_->Release(*downloadItem_);
}

bool HVDownloadTaskDownload::SkipsItem() {
    bool archived = false;
    if ((skips_ & HVDownloadSkipArchived) != 0 && archive_ != nullptr)
        CallApplication([&] { archived = archive_->Contains(*downloadItem_); });
    if (archived) {
        skipped_ = HVDownloadSkipArchived;
    } else if ((skips_ & HVDownloadSkipExisting) != 0) {
        std::string const file = ExistingFile(*downloadItem_, conversion_, nameTemplate_, outputPath_);
        if (!file.empty()) {
            skipped_ = HVDownloadSkipExisting;
            downloadItem_->SetDownloadedFile(file);
        }
    }
    return skipped_ != HVDownloadSkipNone;
}

} // namespace Halvorn

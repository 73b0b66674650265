#include "IHVDownloadController.h"

#include "HVDownloadController.h"
#include "HVNameTemplate.h"

#include <utility>

namespace Halvorn {

std::shared_ptr<IHVDownloadController>
IHVDownloadController::MallocDownloadController(std::shared_ptr<IHVDownloadItem> item,
                                                std::string const& outputPath) {
    return std::make_shared<HVDownloadController>(std::move(item), outputPath);
}

std::string IHVDownloadController::ProgressText() const {
    auto const* const controller = dynamic_cast<HVDownloadController const*>(this);
    return controller == nullptr ? std::string() : controller->ProgressTextNow();
}

void IHVDownloadController::SetProgressFunc(std::function<void(HVDownloadProgress const&)> function,
                                            int mostCallsASecond) {
    if (auto* const controller = dynamic_cast<HVDownloadController*>(this))
        controller->SetProgressRecordFunc(std::move(function), mostCallsASecond);
}

void IHVDownloadController::SetOptionsForSite(
    std::function<std::shared_ptr<IHVDownloadOptions>(std::string const& host)> choose) {
    if (auto* const controller = dynamic_cast<HVDownloadController*>(this))
        controller->TakeOptionsForSite(std::move(choose));
}

void IHVDownloadController::SetResumable(HVResumeSettings const& settings) {
    if (auto* const controller = dynamic_cast<HVDownloadController*>(this))
        controller->SetResume(settings);
}

std::shared_ptr<IHVError const> IHVDownloadController::SetNameTemplate(std::string const& text) {
    auto checked = text.empty()
                       ? IHVError::MallocSucceed("IHVDownloadController", __LINE__, "SetNameTemplate")
                       : HVNameTemplate::Check(text);
    if (auto* const controller = dynamic_cast<HVDownloadController*>(this); controller && checked->Succeed())
        controller->SetName(text);
    return checked;
}

std::string IHVDownloadController::GetNameTemplate() const {
    auto const* const controller = dynamic_cast<HVDownloadController const*>(this);
    return controller == nullptr ? std::string() : controller->NameTemplate();
}

void IHVDownloadController::SetArchive(std::shared_ptr<IHVDownloadArchive> archive) {
    if (auto* const controller = dynamic_cast<HVDownloadController*>(this))
        controller->SetArchiveOfRuns(std::move(archive));
}

void IHVDownloadController::SetAnalysisAtStart(HVFormatWish const& wish) {
    if (auto* const controller = dynamic_cast<HVDownloadController*>(this))
        controller->SetWish(wish);
}

void IHVDownloadController::SetSkips(int skips) {
    if (auto* const controller = dynamic_cast<HVDownloadController*>(this))
        controller->SetSkipsOfRuns(skips);
}

int IHVDownloadController::GetSkips() const {
    auto const* const controller = dynamic_cast<HVDownloadController const*>(this);
    return controller == nullptr ? HVDownloadSkipNone : controller->Settings().skips;
}

HVDownloadSkip IHVDownloadController::WasSkipped() const {
    auto const* const controller = dynamic_cast<HVDownloadController const*>(this);
    return controller == nullptr ? HVDownloadSkipNone : controller->SkippedNow();
}

void IHVDownloadController::SetMetadataFiles(HVMetadataFiles const& files) {
    if (auto* const controller = dynamic_cast<HVDownloadController*>(this))
        controller->SetMetadata(files);
}

std::string IHVDownloadController::FindExistingFile() const {
    auto const* const controller = dynamic_cast<HVDownloadController const*>(this);
    return controller == nullptr ? std::string() : controller->FindExisting();
}

bool IHVDownloadController::DiscardPartial() {
    auto* const controller = dynamic_cast<HVDownloadController*>(this);
    return controller != nullptr && controller->RemovePartialData();
}

std::uint64_t IHVDownloadController::PartialBytes() const {
    auto const* const controller = dynamic_cast<HVDownloadController const*>(this);
    return controller == nullptr ? 0 : controller->PartialBytesThere();
}

HVDownloadProgress IHVDownloadController::GetProgress() const {
    auto const* const controller = dynamic_cast<HVDownloadController const*>(this);
    return controller == nullptr ? HVDownloadProgress() : controller->ProgressNow();
}

void IHVDownloadController::CancelDownload() {
    if (auto* const controller = dynamic_cast<HVDownloadController*>(this))
        controller->Cancel();
    else if (State() == HVDownloadStatePending)
        ResetDownload();
    else
        StopDownload();
}

bool IHVDownloadController::FinishDownload() {
    auto* const controller = dynamic_cast<HVDownloadController*>(this);
    return controller != nullptr && controller->Finish();
}

IHVDownloadController::Recording IHVDownloadController::RecordedSoFar() const {
    auto const* const controller = dynamic_cast<HVDownloadController const*>(this);
    return controller == nullptr ? Recording{} : controller->RecordingNow();
}

int IHVDownloadController::WaitFinish(unsigned int milliseconds) const {
    auto const* const controller = dynamic_cast<HVDownloadController const*>(this);
    return controller == nullptr || InsideApplicationCall() ? HVErrFailure
                                                            : controller->WaitUntilIdle(milliseconds);
}

bool IHVDownloadController::DownloadWasStarted() const {
    return State() == HVDownloadStateDownloading;
}

bool IHVDownloadController::DownloadWasDone() const {
    return State() == HVDownloadStateDone;
}

bool IHVDownloadController::DownloadSucceed() const {
    auto const error = LastError();
    return State() == HVDownloadStateDone && error != nullptr && error->Succeed();
}

bool IHVDownloadController::DownloadCancelled() const {
    auto const error = LastError();
    return error != nullptr && error->UserCancel();
}

} // namespace Halvorn

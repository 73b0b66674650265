#include "HVDownloads.h"

#include "HVChoice.h"
#include "HVItemText.h"
#include "HVJsonText.h"
#include "HVRequest.h"
#include "HVSession.h"

#include <Reelhaul/IHVConversionOptions.h>

#include <utility>

namespace Halvorn {

namespace {

/// In a row without any progress: five minutes together.
constexpr int kRetries = 6;
/// Between two sums over all rows: of ten thousand each one takes some milliseconds.
constexpr std::chrono::milliseconds kTotalPause(500);

/// What has not been analysed yet goes by its address.
std::string TitleOf(IHVDownloadItem const& item) {
    return item.Valid() ? item.GetFileName() : item.DownloadURL();
}

} // namespace

HVDownloads::HVDownloads(HVSession& session, HVRequest const& request, HVProgressDisplay& display,
                         std::shared_ptr<IHVKeptQueue> kept)
    : session_(session), request_(request), display_(display), kept_(std::move(kept)),
      queue_(kept_ != nullptr ? kept_->Controllers() : IHVDownloadControllers::MallocDownloadControllers()) {
    queue_->SetConcurrentDownload(request.jobs);
    queue_->SetPauseBetweenStarts(request.sleepBetween * 1000);
    queue_->SetRateLimit(request.totalRate);
    if (request.goOn) {
        HVResumeSettings settings;
        settings.retries = kRetries;
        queue_->SetResumable(settings);
    }
}

std::string HVDownloads::Add(std::shared_ptr<IHVDownloadItem> const& item) {
    auto const controller = IHVDownloadController::MallocDownloadController(item, request_.folder);
    controller->SetOptions(request_.options);
    controller->SetNameTemplate(request_.name);
    if (request_.skipExisting && !request_.later)
        if (std::string existing = controller->FindExistingFile(); !existing.empty())
            return existing;
    controller->SetArchive(request_.archive);
    controller->SetMetadataFiles(request_.metadata);
    controller->SetJSRuntimePath(request_.jsRuntime);
    if (kept_ != nullptr)
        KeepTerms(*controller);
    if (!request_.addOnly)
        AddRow(controller);
    queue_->AddController(controller);
    if (!request_.goOn)
        controller->DiscardPartial(); // it would only lie there
    if (request_.addOnly)
        StoreRow(controller);
    else
        queue_->StartRows({queue_->IndexOfController(controller)});
    return {};
}

/// What holds for the row whenever it is started.
void HVDownloads::KeepTerms(IHVDownloadController& controller) const {
    if (auto const wish = WishOf(request_.format, request_))
        controller.SetAnalysisAtStart(*wish);
    controller.SetSkips((request_.archive != nullptr ? HVDownloadSkipArchived : 0) |
                        (request_.skipExisting ? HVDownloadSkipExisting : 0));
}

void HVDownloads::AddKept(std::vector<int> const& rows) {
    for (int const row : rows) {
        AddRow(queue_->GetController(row));
        rows_.back().place = row;
    }
    // All in one go: each start looks at the whole queue.
    queue_->StartRows(rows);
}

void HVDownloads::AddWaiting() {
    std::vector<int> waiting;
    for (int const row : queue_->AllControllers())
        if (queue_->State(row) == HVDownloadStatePending)
            waiting.push_back(row);
    AddKept(waiting);
}

void HVDownloads::StoreRow(std::shared_ptr<IHVDownloadController> const& controller) {
    // It waits until the queue is started.
    controller->PendingDownload();
    std::int64_t const number = kept_->Number(controller);
    std::string const title = TitleOf(*controller->DownloadItem());
    if (request_.json)
        session_.Console().Out(EventLine(
            "added",
            {{"row", number}, {"title", title}, {"url", controller->DownloadItem()->DownloadURL()}}));
    else
        session_.Console().Out(std::to_string(number) + "  " + title);
}

void HVDownloads::AddRow(std::shared_ptr<IHVDownloadController> const& controller) {
    auto const item = controller->DownloadItem();
    int const id = static_cast<int>(rows_.size());
    Row row;
    row.title = TitleOf(*item);
    row.firstName = item->GetFileName();
    row.url = item->DownloadURL().empty() ? item->GetPlaylistURL() : item->DownloadURL();
    row.live = item->IsLiveStream();
    if (auto const format = item->GetCurrentDownloadFormat())
        row.format = format->FormatCode();
    auto const conversion = request_.options->GetConversionOptions();
    bool const beside = conversion == nullptr || conversion->GetKeepSubtitleFiles();
    for (auto const& subtitle : beside ? item->ChosenSubtitles() : decltype(item->ChosenSubtitles())())
        row.subtitles.push_back(subtitle->GetLanguageCode());
    row.controller = controller;
    Listen(*controller, id);
    rows_.push_back(std::move(row));
}

std::string HVDownloads::Discard(std::shared_ptr<IHVDownloadItem> const& item) {
    auto const controller = IHVDownloadController::MallocDownloadController(item, request_.folder);
    controller->SetOptions(request_.options); // a conversion has data of its own
    std::uint64_t const bytes = controller->PartialBytes();
    std::string const& title = item->GetFileName();
    if (!controller->DiscardPartial())
        return "a download is using what was kept of it";
    if (request_.json)
        session_.Console().Out(
            EventLine("discarded", {{"url", item->DownloadURL()}, {"title", title}, {"bytes", bytes}}));
    session_.Console().Note(title + ": " +
                            (bytes == 0 ? "nothing was kept of it" : "removed " + SizeText(bytes)));
    return {};
}

std::uint64_t HVDownloads::KeptBytes() const {
    std::uint64_t bytes = 0;
    for (Row const& row : rows_)
        if (!row.controller->DownloadSucceed())
            bytes += row.controller->PartialBytes();
    return bytes;
}

void HVDownloads::StopAll() {
    stopping_ = true;
    if (kept_ != nullptr)
        kept_->KeepStates();
    queue_->StopAll();
    for (std::size_t i = 0; i < rows_.size(); ++i)
        if (!rows_[i].over && rows_[i].controller->State() == HVDownloadStateIdle)
            Cancel(rows_[i], static_cast<int>(i));
}

bool HVDownloads::FinishRecordings() {
    bool any = false;
    for (Row& row : rows_)
        any = Finish(row) || (!finishing_ && row.finishing && !row.over) || any;
    if (!any)
        return false;
    finishing_ = true;
    if (kept_ != nullptr)
        kept_->KeepStates();
    session_.Console().Note("Finishing what is recorded; Ctrl-C once more gives it up");
    StopRest();
    return true;
}

/// False also for a recording that is being finished already.
bool HVDownloads::Finish(Row& row) {
    if (row.over || row.finishing)
        return false;
    row.finishing = row.controller->FinishDownload();
    return row.finishing;
}

void HVDownloads::StopRest() {
    for (std::size_t i = 0; i < rows_.size(); ++i) {
        Row& row = rows_[i];
        if (row.over || row.finishing)
            continue;
        row.controller->CancelDownload();
        if (row.controller->State() == HVDownloadStateIdle)
            Cancel(row, static_cast<int>(i));
    }
}

void HVDownloads::Tick() {
    if (AllOver()) {
        display_.SetWaiting(0);
        return;
    }
    if (stopping_) {
        // Once more: an end may have started the next one at the very moment of the stop.
        StopAll();
        return;
    }
    for (std::size_t i = 0; i < rows_.size(); ++i)
        if (Row& row = rows_[i]; row.live && row.started && !row.over)
            TellOfRecording(row, static_cast<int>(i));
    if (finishing_) {
        StopRest(); // once more, as above
        return;
    }
    int const waiting = queue_->CountOfPendingControllers();
    display_.SetWaiting(waiting);
    if (std::chrono::steady_clock::now() - totalTold_ >= kTotalPause)
        TellTotal();
    CollectFailedStarts();
    if (waiting == 0 || queue_->AnyControllerIsDownloading())
        return;
    if (kept_ != nullptr)
        kept_->StartWaiting();
    else
        queue_->StartAll();
}

void HVDownloads::CollectFailedStarts() {
    // The queue reports no failure of a start of its own: the controller is then done without a run.
    for (std::size_t i = 0; i < rows_.size(); ++i) {
        Row const& row = rows_[i];
        if (row.over || row.started || row.controller->State() != HVDownloadStateDone)
            continue;
        if (auto const error = row.controller->LastError(); error && !error->Succeed())
            session_.Queue()->Post([this, id = static_cast<int>(i), error] { Completed(id, error); });
    }
}

} // namespace Halvorn

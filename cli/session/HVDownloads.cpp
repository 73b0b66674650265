#include "HVDownloads.h"

#include "HVChoice.h"
#include "HVFailure.h"
#include "HVItemText.h"
#include "HVJsonText.h"
#include "HVRequest.h"
#include "HVSession.h"

#include <Reelhaul/IHVConversionOptions.h>

#include <algorithm>
#include <filesystem>
#include <utility>

namespace Halvorn {

namespace {

/// In a row without any progress: five minutes together.
constexpr int kRetries = 6;
/// Between two sums over all rows: of ten thousand each one takes some milliseconds.
constexpr std::chrono::milliseconds kTotalPause(500);

/// Whether one of the files is the subtitle in this language: its name ends in ".LANG.EXT", perhaps with a
/// number behind the language.
bool HoldsLanguage(std::vector<std::string> const& files, std::string const& language) {
    return std::any_of(files.begin(), files.end(), [&language](std::string const& file) {
        std::string const stem = std::filesystem::path(file).stem().string();
        return stem.ends_with("." + language) || stem.find("." + language + " (") != std::string::npos;
    });
}

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

namespace {

void AddProgress(std::vector<HVJsonField>& fields, HVDownloadProgress const& record) {
    fields.insert(fields.end(), {{"phase", DownloadPhaseName(record.phase)},
                                 {"fraction", record.fraction},
                                 {"part", record.part},
                                 {"parts", record.parts},
                                 {"part_bytes", record.partBytes},
                                 {"part_total", record.partTotal},
                                 {"bytes", record.bytes},
                                 {"total", record.total},
                                 {"estimated", record.estimated},
                                 {"bytes_per_second", record.bytesPerSecond}});
    if (record.secondsLeft >= 0)
        fields.emplace_back("seconds_left", record.secondsLeft);
    if (record.fragmentCount > 0) {
        fields.emplace_back("fragments", record.fragments);
        fields.emplace_back("fragment_count", record.fragmentCount);
    }
}

void AddKeptBytes(std::vector<HVJsonField>& fields, IHVDownloadController const& controller) {
    if (std::uint64_t const bytes = controller.PartialBytes(); bytes > 0)
        fields.emplace_back("kept_bytes", bytes);
}

} // namespace

void HVDownloads::Listen(IHVDownloadController& controller, int row) {
    // The functions live in the controller and run on the library's threads.
    controller.SetDownloadStartFunc(
        [this, row, main = session_.Queue()] { main->Post([this, row] { Started(row); }); });
    controller.SetDownloadProgressFunc(
        [this, row, main = session_.Queue(), from = &controller](float percent) {
            main->Post([this, row, percent, text = from->ProgressText(), record = from->GetProgress()] {
                Progressed(row, percent, text, record);
            });
        });
    controller.SetProgressFunc([this, row, main = session_.Queue()](HVDownloadProgress const& record) {
        main->Post([this, row, record] { Recorded(row, record); });
    });
    controller.SetDownloadCompleteFunc(
        [this, row, main = session_.Queue()](std::shared_ptr<IHVError const> error) {
            main->Post([this, row, error = std::move(error)] { Completed(row, error); });
        });
}

void HVDownloads::Started(int row) {
    Row& started = rows_[static_cast<std::size_t>(row)];
    // The library tells of a start twice.
    if (started.over || std::exchange(started.started, true))
        return;
    if (request_.json)
        session_.Console().Out(EventLine(
            "started",
            {{"id", row + 1}, {"title", started.title}, {"url", started.url}, {"format", started.format}}));
    display_.Begin(row, started.title, started.live);
}

void HVDownloads::Progressed(int row, float percent, std::string const& text,
                             HVDownloadProgress const& record) {
    Row& progressed = rows_[static_cast<std::size_t>(row)];
    progressed.percent = percent;
    progressed.text = text;
    TellProgress(row, record);
}

void HVDownloads::Recorded(int row, HVDownloadProgress const& record) {
    // A percentage of the same moment has been told with the same numbers.
    HVDownloadProgress const& told = rows_[static_cast<std::size_t>(row)].record;
    // What a tool without reports says comes with its percentages; it never tells how many parts there are.
    bool const news =
        record.parts > 0 && !record.live &&
        (record.phase != told.phase || record.bytes != told.bytes || record.fraction > told.fraction);
    if (news)
        TellProgress(row, record);
}

void HVDownloads::TellProgress(int row, HVDownloadProgress const& record) {
    Row& told = rows_[static_cast<std::size_t>(row)];
    if (told.over)
        return;
    told.record = record;
    if (request_.json) {
        std::vector<HVJsonField> fields{
            {"id", row + 1}, {"percent", static_cast<double>(told.percent)}, {"text", told.text}};
        AddProgress(fields, record);
        session_.Console().Out(EventLine("progress", fields));
    }
    display_.Update(row, told.percent, told.text, record);
}

void HVDownloads::Completed(int row, std::shared_ptr<IHVError const> const& error) {
    Row& completed = rows_[static_cast<std::size_t>(row)];
    if (completed.over)
        return;
    bool const stopped = stopping_ || (finishing_ && !completed.finishing);
    if (error->UserCancel() || (stopped && !error->Succeed())) {
        Cancel(completed, row);
        return;
    }
    EndRow(completed, row);
    if (error->Succeed()) {
        Finished(completed, row);
        return;
    }
    failed_ = true;
    HVFailure failure = FailureOf(*error, request_);
    failure.message = session_.WithLoggedErrors(failure.message);
    if (request_.json) {
        std::vector<HVJsonField> fields = failure.Fields();
        fields.insert(fields.begin(), {{"id", row + 1}, {"url", completed.url}});
        AddKeptBytes(fields, *completed.controller);
        session_.Console().Out(EventLine("failed", fields));
    }
    session_.Console().Error(completed.title + ": " + failure.Line());
}

void HVDownloads::Skipped(Row const& row, int id, HVDownloadSkip reason) {
    bool const archived = reason == HVDownloadSkipArchived;
    std::string const title = row.controller->GetDownloadOutputName();
    std::string const path = row.controller->DownloadOutputPathFile();
    if (request_.json) {
        std::vector<HVJsonField> fields{
            {"id", id + 1}, {"url", row.url}, {"title", title}, {"reason", archived ? "archive" : "exists"}};
        if (!path.empty())
            fields.emplace_back("path", path);
        session_.Console().Out(EventLine("skipped", fields));
    }
    session_.Console().Note(title + ": skipped, " + (archived ? "it is in the archive" : "there is " + path));
}

void HVDownloads::Finished(Row const& row, int id) {
    if (auto const reason = row.controller->WasSkipped(); reason != HVDownloadSkipNone) {
        Skipped(row, id, reason);
        return;
    }
    std::string const path = row.controller->DownloadOutputPathFile();
    auto const item = std::as_const(*row.controller).DownloadItem();
    auto const subtitles = item->DownloadedSubtitles();
    auto const metadata = item->DownloadedMetadata();
    auto const files = item->DownloadedFiles();
    for (std::string const& language : row.subtitles) {
        if (HoldsLanguage(subtitles, language))
            continue;
        // The tool may well succeed without the subtitles that it offered.
        session_.Console().Error(row.title + ": the tool delivered no subtitles " + language);
        failed_ = true;
    }
    if (request_.json) {
        std::vector<HVJsonField> fields{{"id", id + 1}, {"path", path}};
        if (files.size() > 1)
            fields.emplace_back("files", files);
        if (!subtitles.empty())
            fields.emplace_back("subtitles", subtitles);
        if (!metadata.empty())
            fields.emplace_back("metadata", metadata);
        session_.Console().Out(EventLine("finished", fields));
        return;
    }
    for (auto const* const list : {&files, &subtitles, &metadata})
        for (std::string const& file : *list)
            session_.Console().Out(file);
}

void HVDownloads::EndRow(Row& row, int id) {
    row.over = true;
    ++over_;
    if (request_.archive != nullptr)
        request_.archive->Release(*std::as_const(*row.controller).DownloadItem());
    display_.End(id);
    display_.Refresh();
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

void HVDownloads::Cancel(Row& row, int id) {
    EndRow(row, id);
    cancelled_ = true;
    if (!request_.json)
        return;
    std::vector<HVJsonField> fields{{"id", id + 1}, {"url", row.url}};
    AddKeptBytes(fields, *row.controller);
    session_.Console().Out(EventLine("cancelled", fields));
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

void HVDownloads::TellOfRecording(Row& row, int id) {
    auto const recording = row.controller->RecordedSoFar();
    if (request_.duration > 0 && recording.seconds >= request_.duration)
        Finish(row);
    std::string const size = SizeText(static_cast<std::uint64_t>(recording.bytes));
    display_.UpdateRecording(id, recording.seconds,
                             row.finishing ? "finishing  " + size
                                           : ClockText(recording.seconds) + " recorded  " + size);
    if (recording.seconds <= row.told)
        return;
    row.told = recording.seconds;
    if (request_.json)
        session_.Console().Out(EventLine(
            "recording", {{"id", id + 1}, {"seconds", recording.seconds}, {"bytes", recording.bytes}}));
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

void HVDownloads::TellTotal() {
    if (rows_.size() < 2)
        return;
    totalTold_ = std::chrono::steady_clock::now();
    std::vector<int> places;
    places.reserve(rows_.size());
    for (Row& row : rows_) {
        if (row.place < 0)
            row.place = queue_->IndexOfController(row.controller);
        places.push_back(row.place);
    }
    HVQueueProgress const total = queue_->GetProgress(places);
    display_.SetTotal(total);
    if (!request_.json || kept_ == nullptr)
        return;
    std::vector<HVJsonField> fields{{"fraction", total.fraction},
                                    {"bytes", total.bytes},
                                    {"total", total.total},
                                    {"estimated", total.estimated},
                                    {"bytes_per_second", total.bytesPerSecond},
                                    {"waiting", total.waiting},
                                    {"running", total.downloading},
                                    {"done", total.succeeded},
                                    {"failed", total.failed}};
    if (total.secondsLeft >= 0)
        fields.emplace_back("seconds_left", total.secondsLeft);
    session_.Console().Out(EventLine("total", fields));
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

// What is told of the downloads.

#include "HVDownloads.h"
#include "HVFailure.h"
#include "HVItemText.h"
#include "HVJsonText.h"
#include "HVRequest.h"
#include "HVSession.h"

#include <algorithm>
#include <filesystem>
#include <utility>

namespace Halvorn {

namespace {

/// Whether one of the files is the subtitle in this language: its name ends in ".LANG.EXT", perhaps with a
/// number behind the language.
bool HoldsLanguage(std::vector<std::string> const& files, std::string const& language) {
    return std::any_of(files.begin(), files.end(), [&language](std::string const& file) {
        std::string const stem = std::filesystem::path(file).stem().string();
        return stem.ends_with("." + language) || stem.find("." + language + " (") != std::string::npos;
    });
}

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
    if (told.title == told.url) // its run may have analysed it by now
        TakeTitle(told, row);
    if (request_.json) {
        std::vector<HVJsonField> fields{
            {"id", row + 1}, {"percent", static_cast<double>(told.percent)}, {"text", told.text}};
        AddProgress(fields, record);
        session_.Console().Out(EventLine("progress", fields));
    }
    display_.Update(row, told.percent, told.text, record);
}

void HVDownloads::TakeTitle(Row& row, int id) {
    std::string name = row.controller->GetDownloadOutputName();
    if (name == row.firstName)
        return;
    row.title = std::move(name);
    display_.Rename(id, row.title);
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

void HVDownloads::Cancel(Row& row, int id) {
    EndRow(row, id);
    cancelled_ = true;
    // A kept queue may have thousands that wait, and goes on with them as with the rest.
    if (!request_.json || (kept_ != nullptr && !row.started))
        return;
    std::vector<HVJsonField> fields{{"id", id + 1}, {"url", row.url}};
    AddKeptBytes(fields, *row.controller);
    session_.Console().Out(EventLine("cancelled", fields));
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

} // namespace Halvorn

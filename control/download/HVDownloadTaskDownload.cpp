#include "HVDownloadTaskDownload.h"

#include "HVArgsBuilder.h"
#include "HVDownloadItem.h"
#include "HVExplainedError.h"
#include "HVKeptDocument.h"
#include "HVMetadataSides.h"
#include "HVTmpFolder.h"
#include "HVToolReport.h"
#include "HVToolRun.h"
#include "IHVDownloadItem.h"
#include "IHVDownloadOptions.h"
#include "IHVFileProvider.h"
#include "IHVGeneralOptions.h"
#include "IHVLogConfig.h"
#include "IHVPlayList.h"

#include <utility>

namespace Halvorn {

namespace {

constexpr char kFile[] = "HVDownloadTaskDownload";
constexpr char kFunction[] = "asyncProgressTask";
constexpr int kRandomNameLength = 10;
/// Our extension puts it behind the name of a kept file until all is done that the tool does with it.
constexpr char kOpenMark[] = ".state.open";

} // namespace

std::shared_ptr<IHVDownloadTask> IHVDownloadTask::MallocDownloadTask(std::shared_ptr<IHVDownloadItem> item,
                                                                     std::string const& outputPath) {
    return std::make_shared<HVDownloadTaskDownload>(std::move(item), outputPath);
}

HVDownloadTaskDownload::HVDownloadTaskDownload(std::shared_ptr<IHVDownloadItem> item, std::string outputPath)
    : downloadItem_(std::move(item)), outputPath_(std::move(outputPath)),
      live_(downloadItem_ != nullptr && downloadItem_->IsLiveStream()) {}

std::string HVDownloadTaskDownload::TaskURL() const {
    if (downloadItem_ == nullptr)
        return {};
    auto const playList = downloadItem_->GetPlayList();
    return playList != nullptr ? playList->GetPlaylistURL() : downloadItem_->DownloadURL();
}

std::string HVDownloadTaskDownload::ItemAddress() const {
    if (downloadItem_ == nullptr)
        return {};
    std::string const own = downloadItem_->DownloadURL();
    return own.empty() ? downloadItem_->GetPlaylistURL() : own;
}

void HVDownloadTaskDownload::asyncProgressTask() {
    progress_ = 0.0F;
    // All of the run goes to one site.
    SetOptions(OptionsFor(ItemAddress()));
    notifyTaskStarted("Download started.");
    notifyTaskComplete(Download());
}

HVDownloadTaskDownload::Result HVDownloadTaskDownload::Download() {
    conversion_ = ConversionOf(GetMutableOptions().get());
    live_ = downloadItem_ != nullptr && downloadItem_->IsLiveStream();
    bool const asks = NeedsAnalysis();
    if (auto obstacle = asks ? nullptr : Obstacle())
        return obstacle;
    BeginProgress();
    Result result;
    if (!WaitForTurn())
        result = IHVError::MallocCancel(kFile, __LINE__, kFunction);
    if (result == nullptr && asks)
        result = RunWithRetries([this] { return Analyse(); });
    if (result == nullptr || result->Succeed())
        result = Fetch();
    if (!asks && MayChooseAnew(*result)) {
        Result const analysed = RunWithRetries([this] { return Analyse(); });
        result = analysed->Succeed() ? Fetch() : analysed;
    }
    if (result->Succeed())
        DropFormerPartial();
    TrackPhase(result->Succeed() ? HVDownloadPhaseDone : HVDownloadPhaseNone);
    return result;
}

HVDownloadTaskDownload::Result HVDownloadTaskDownload::Obstacle() const {
    if (downloadItem_ == nullptr || downloadItem_->GetCurrentDownloadFormat() == nullptr)
        return IHVError::MallocError(kFile, __LINE__, kFunction, -1, "Error", "No download format settings.");
    if (auto fault = ConversionError())
        return fault;
    if (!IHVFileProvider::GetTmpPath().empty())
        return nullptr;
    return IHVError::MallocError(kFile, __LINE__, kFunction, -1, "Error",
                                 "Can't make a temporary folder in \"%s\".", SystemTmpFolder().c_str());
}

void HVDownloadTaskDownload::BeginProgress() {
    auto const format = downloadItem_->GetCurrentDownloadFormat();
    bool const parts = format != nullptr && format->MergeFormat() && conversion_.audio.empty();
    Track([&](HVProgressTracker& tracker) {
        tracker.Begin(parts ? 2 : 1, !conversion_.Empty());
        return true;
    });
}

HVDownloadTaskDownload::Result HVDownloadTaskDownload::Fetch() {
    if (auto obstacle = Obstacle())
        return obstacle;
    if (!ClaimItem())
        return IHVError::MallocCancel(kFile, __LINE__, kFunction);
    Result result = SkipsItem() ? IHVError::MallocSucceed(kFile, __LINE__, kFunction) : TargetFault();
    if (result == nullptr) {
        auto const file = MakeTempFile(IHVFileProvider::GetTmpPath(),
                                       downloadItem_->GetCurrentDownloadFormat()->Extension());
        result = RunWithRetries([&] { return RunTool(file); });
    }
    ReleaseItem();
    return result;
}

HVDownloadTaskDownload::TempFile HVDownloadTaskDownload::MakeTempFile(std::string const& folder,
                                                                      std::string const& extension) {
    std::string const path = IHVFileProvider::AppendPathComponent(
        folder, IHVFileProvider::CreateRandomFileName(extension, kRandomNameLength));
    return {path, path, extension, nullptr};
}

bool HVDownloadTaskDownload::FinishRecording() {
    if (!live_) // the item itself may be changed by its analysis at this moment
        return false;
    finish_.Request();
    return true;
}

std::shared_ptr<IHVError const> HVDownloadTaskDownload::RunTool(TempFile file) {
    HVArgsBuilder builder(GetMutableOptions());
    builder.SetJsRuntimePath(GetJSRuntimePath());
    bool failed = false;
    bool const goesOn = UsePartialFolder(file) && file.partial->Bytes() > 0;
    // What goes on may be days old: it asks the site for addresses that still serve.
    std::string const document = goesOn ? std::string() : DocumentToUse();
    auto args = builder.BuildDownloadItemArgs(downloadItem_.get(), file.toolPath);
    if (document.empty() || args.empty())
        return RunTool(file, args, failed);
    // The address ends every command.
    args.pop_back();
    if (!args.empty() && args.back() == "--")
        args.pop_back();
    args.insert(args.end(), {"--load-info-json", document});
    auto result = RunTool(file, args, failed);
    if (!failed)
        return result;
    IHVLogConfig::Printf("The download is made by the address, not by the analysis's document.");
    // Another name: what the first run leaves is removed when its last process has ended.
    auto second = MakeTempFile(IHVFileProvider::GetTmpPath(), file.extension);
    file.partial.reset(); // it is locked as long as a run has it
    UsePartialFolder(second);
    return RunTool(second, builder.BuildDownloadItemArgs(downloadItem_.get(), second.toolPath), failed);
}

std::string HVDownloadTaskDownload::DocumentToUse() {
    auto const* const own = dynamic_cast<HVDownloadItem const*>(downloadItem_.get());
    auto const document = own == nullptr ? nullptr : own->Document();
    return document != nullptr && document->Serves(Terms(ItemAddress())) ? document->Path() : std::string();
}

std::shared_ptr<IHVError const>
HVDownloadTaskDownload::RunTool(TempFile const& file, std::vector<std::string> const& args, bool& failed) {
    ForgetMadeFiles(file);
    auto whole = MetadataArgs(metadata_);
    whole.insert(whole.end(), args.begin(), args.end());
    HVToolRun run(HVArgsBuilder::GetDownloadCommadExe(), args.empty() ? args : whole);
    run.SetJSRuntimePath(GetJSRuntimePath());
    run.SetOptions(GetMutableOptions().get());
    run.SetTotalRate(totalRate_.get());
    // The run may be left before the child's end: the handler keeps the task.
    run.SetOutputHandler([this, self = shared_from_this()](std::string const& text) {
        ParseDownloadOutputInfo(text);
        Track([&text](HVProgressTracker& tracker) { return tracker.TakeLines(text); });
    });
    run.SetReportHandler([this, self = shared_from_this()](IHVJsonValue const& record) {
        Track([&record](HVProgressTracker& tracker) { return tracker.TakeRecord(record); });
    });
    run.SetStop(Stop());
    run.LeaveAfterStop();
    if (downloadItem_->IsLiveStream()) {
        recording_.Begin(file.path);
        run.SetErrorFilter(
            [this, self = shared_from_this()](std::string const& text) { return recording_.Take(text); });
        run.SetInterrupt(&finish_);
    }
    auto const outcome = run.Run();
    if (outcome.startError != nullptr)
        return outcome.startError;
    // Where the tool has gone back to the address by itself, that would not help a second time.
    failed = outcome.handlerError == nullptr && !UserCancel() && !IsFinished(file, outcome) &&
             !FailedAfterTheSite(outcome) && outcome.errors.find("trying with URL") == std::string::npos;
    auto result = outcome.handlerError != nullptr ? outcome.handlerError : ResultOf(file, outcome);
    RemoveLeftovers(run, file, result->Succeed());
    return result;
}

void HVDownloadTaskDownload::RemoveLeftovers(HVToolRun& run, TempFile const& file, bool placed) {
    // Once the child is gone: until then it may write more. A finished file that has no place is kept.
    // Partial data stays, and its folder is locked until then.
    std::string const place =
        file.partial == nullptr ? file.path : file.toolPath.substr(0, file.toolPath.rfind('/'));
    std::string const name = place.substr(place.rfind('/') + 1);
    run.OnExit([stem = name.substr(0, kRandomNameLength), partial = file.partial, placed] {
        IHVFileProvider::RemoveTmpFiles(stem);
        if (partial != nullptr && placed)
            partial->Remove();
        else if (partial != nullptr)
            partial->RemoveUnlessFilled();
    });
}

/// A full disk, and a conversion, fail in the same way by whichever way the item was fetched.
bool HVDownloadTaskDownload::FailedAfterTheSite(HVToolResult const& outcome) const {
    HVErrorKind const kind = outcome.fault.kind;
    return kind == HVErrorKindDiskFull ||
           (!conversion_.Empty() && (kind == HVErrorKindConversionFailed ||
                                     kind == HVErrorKindFfmpegMissing || kind == HVErrorKindRuntimeMissing));
}

bool HVDownloadTaskDownload::IsFinished(TempFile const& file, HVToolResult const& outcome) {
    if (!conversion_.Empty())
        return !MadeFiles(file).empty();
    if (!IHVFileProvider::PathFileExist(file.path))
        return false;
    // The tool may still have had to mend the file by ffmpeg. The next run goes on with what is kept.
    bool const byItself = outcome.endedBy == HVToolResult::By::Tool && outcome.end.known && !outcome.Died();
    if (file.partial != nullptr && (!byItself || outcome.fault.kind == HVErrorKindDiskFull ||
                                    IHVFileProvider::PathFileExist(file.path + kOpenMark)))
        return false;
    auto const options = GetMutableOptions();
    auto const general = options == nullptr ? nullptr : options->GetGeneralOptions();
    // The file alone decides: a stop that comes after it was finished does not undo it. But where the tool
    // writes without a part file, half a file has the name from the start.
    return general == nullptr || general->GetUsePartFile() ||
           ((outcome.Succeeded() || finish_.Requested()) && !UserCancel());
}

HVDownloadTaskDownload::Result HVDownloadTaskDownload::ResultOf(TempFile const& file,
                                                                HVToolResult const& outcome) {
    if (!outcome.errors.empty())
        IHVLogConfig::Printf("ERROR: %s.", outcome.errors.c_str());
    // The tool gives up a stream that no ffmpeg records: what it has of that can be played as well.
    if (finish_.Requested() && !UserCancel())
        recording_.TakePart();
    if (IsFinished(file, outcome)) {
        TrackPhase(HVDownloadPhaseMoving);
        return Place(file);
    }
    if (UserCancel() || finish_.Requested())
        return IHVError::MallocCancel(kFile, __LINE__, kFunction);
    return FaultError(kFile, __LINE__, kFunction, "Download error: " + outcome.errors, outcome.fault,
                      ReasonOf(outcome.fault));
}

} // namespace Halvorn

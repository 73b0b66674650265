#include "HVDownloadTaskDownload.h"

#include "HVArgsBuilder.h"
#include "HVToolRun.h"
#include "IHVDownloadItem.h"
#include "IHVFileProvider.h"
#include "IHVLogConfig.h"
#include "IHVPlayList.h"

#include <utility>

namespace Halvorn {

namespace {

constexpr char kFile[] = "HVDownloadTaskDownload";
constexpr char kFunction[] = "asyncProgressTask";
constexpr int kRandomNameLength = 10;

} // namespace

std::shared_ptr<IHVDownloadTask> IHVDownloadTask::MallocDownloadTask(std::shared_ptr<IHVDownloadItem> item,
                                                                     std::string const& outputPath) {
    return std::make_shared<HVDownloadTaskDownload>(std::move(item), outputPath);
}

HVDownloadTaskDownload::HVDownloadTaskDownload(std::shared_ptr<IHVDownloadItem> item, std::string outputPath)
    : downloadItem_(std::move(item)), outputPath_(std::move(outputPath)) {}

std::string HVDownloadTaskDownload::TaskURL() const {
    if (downloadItem_ == nullptr)
        return {};
    auto const playList = downloadItem_->GetPlayList();
    return playList != nullptr ? playList->GetPlaylistURL() : downloadItem_->DownloadURL();
}

void HVDownloadTaskDownload::asyncProgressTask() {
    progress_ = 0.0F;
    notifyTaskStarted("Download started.");
    auto const format = downloadItem_ == nullptr ? nullptr : downloadItem_->GetCurrentDownloadFormat();
    if (format == nullptr) {
        notifyTaskComplete(
            IHVError::MallocError(kFile, __LINE__, kFunction, -1, "Error", "No download format settings."));
        return;
    }
    std::string const folder = IHVFileProvider::GetTmpPath();
    if (folder.empty()) {
        notifyTaskComplete(
            IHVError::MallocError(kFile, __LINE__, kFunction, -1, "Error", "Can't make a temporary folder."));
        return;
    }
    TempFile file;
    file.extension = format->Extension();
    file.path = IHVFileProvider::AppendPathComponent(
        folder, IHVFileProvider::CreateRandomFileName(file.extension, kRandomNameLength));
    notifyTaskComplete(RunTool(file));
}

std::shared_ptr<IHVError const> HVDownloadTaskDownload::RunTool(TempFile& file) {
    HVArgsBuilder builder(GetMutableOptions());
    builder.SetJsRuntimePath(GetJSRuntimePath());
    auto const args = builder.BuildDownloadItemArgs(downloadItem_.get(), file.path);
    HVToolRun run(HVArgsBuilder::GetDownloadCommadExe(), args);
    run.SetJSRuntimePath(GetJSRuntimePath());
    run.SetOptions(GetMutableOptions().get());
    // The run may be left before the child's end: the handler keeps the task.
    run.SetOutputHandler([this, self = shared_from_this()](std::string const& text) {
        if (!over_)
            ParseDownloadOutputInfo(text);
    });
    run.SetStop(Stop());
    run.LeaveAfterStop();
    auto const outcome = run.Run();
    if (outcome.startError != nullptr)
        return outcome.startError;
    over_ = true;
    auto result = outcome.handlerError != nullptr ? outcome.handlerError : Result(file, outcome.errors);
    RemoveLeftovers(run, file);
    return result;
}

void HVDownloadTaskDownload::RemoveLeftovers(HVToolRun& run, TempFile const& file) {
    // A finished file is never removed, whatever became of it; all else of this run goes once its child is
    // gone.
    if (file.unplaced)
        IHVFileProvider::KeepTmpFile(file.path);
    std::string const name = file.path.substr(file.path.rfind('/') + 1);
    run.OnExit([stem = name.substr(0, kRandomNameLength), keep = file.unplaced ? file.path : std::string()] {
        IHVFileProvider::RemoveTmpFiles(stem, keep);
    });
}

std::shared_ptr<IHVError const> HVDownloadTaskDownload::Result(TempFile& file, std::string const& errorText) {
    if (!errorText.empty())
        IHVLogConfig::Printf("ERROR: %s.", errorText.c_str());
    // The file alone decides: a stop that comes after it was finished does not undo it.
    if (IHVFileProvider::PathFileExist(file.path))
        return Place(file);
    if (UserCancel())
        return IHVError::MallocCancel(kFile, __LINE__, kFunction);
    return IHVError::MallocError(kFile, __LINE__, kFunction, -1, "Error", "Download error: %s",
                                 errorText.c_str());
}

std::shared_ptr<IHVError const> HVDownloadTaskDownload::Place(TempFile& file) {
    std::string const name =
        IHVFileProvider::MakeValidFilenameAtPath(downloadItem_->GetFileName(), file.extension, outputPath_);
    if (name.empty()) {
        file.unplaced = true;
        return IHVError::MallocError(kFile, __LINE__, kFunction, -1, "Error", "Can't make outfile");
    }
    std::string const target = IHVFileProvider::CreateUniquePathFile(name, file.extension, outputPath_);
    if (target.empty())
        IHVLogConfig::Printf("CreateUniquePathFile Failed");
    auto result = IHVFileProvider::MvFile(file.path, target, true);
    if (result->Succeed()) {
        downloadItem_->SetDownloadedFile(target);
    } else {
        file.unplaced = true;
        IHVLogConfig::Printf("Failed to move %s to %s", file.path.c_str(), target.c_str());
    }
    // Without a target there is no place for the side file either.
    if (!target.empty())
        PlaceSubtitle(file.path, target);
    return result;
}

void HVDownloadTaskDownload::PlaceSubtitle(std::string const& tempFile, std::string const& target) {
    auto const subtitle = std::as_const(*downloadItem_).CurrentDownloadSubtitle();
    if (subtitle == nullptr)
        return;
    std::string const side = subtitle->CurrentSubtitleExtension();
    // The site names both language and format: neither may lead to another folder.
    if (side.find('/') != std::string::npos)
        return;
    std::string from =
        IHVFileProvider::AppendPathExtension(IHVFileProvider::RemovePathExtension(tempFile), side);
    std::string const to =
        IHVFileProvider::AppendPathExtension(IHVFileProvider::RemovePathExtension(target), side);
    // The tool keeps the asked-for extension in the name when the format's own is another one.
    if (std::string other = IHVFileProvider::AppendPathExtension(tempFile, side);
        !IHVFileProvider::PathFileExist(from) && IHVFileProvider::PathFileExist(other))
        from = std::move(other);
    if (!IHVFileProvider::MvFile(from, to, true)->Succeed())
        IHVLogConfig::Printf("Failed to move %s to %s", from.c_str(), to.c_str());
}

} // namespace Halvorn

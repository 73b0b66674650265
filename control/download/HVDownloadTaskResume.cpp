// How a download goes on where an earlier one stopped, and tries again by itself.

#include "HVDownloadTaskDownload.h"
#include "HVExplainedError.h"
#include "HVFileSystem.h"
#include "HVStartPacer.h"
#include "IHVDownloadItem.h"
#include "IHVDownloadOptions.h"
#include "IHVFileProvider.h"
#include "IHVGeneralOptions.h"
#include "IHVLogConfig.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <random>
#include <system_error>

namespace Halvorn {

namespace {

/// In the folder of partial data, which belongs to one download alone.
constexpr char kFileName[] = "data";
/// A run that was stopped a moment ago may still have the folder.
constexpr double kPatience = 10;
constexpr double kLook = 0.05;
constexpr double kJitter = 0.25;
/// Seconds between two looks at a pause that may have been changed.
constexpr double kLongestNap = 1;

double WithJitter(double seconds) {
    static thread_local std::mt19937 engine{std::random_device{}()};
    return seconds * std::uniform_real_distribution<double>(1 - kJitter, 1 + kJitter)(engine);
}

bool CanPassSoon(IHVError const& failure) {
    HVErrorKind const kind = failure.GetKind();
    return failure.CanRetry() &&
           (kind == HVErrorKindNetwork || kind == HVErrorKindTimedOut || kind == HVErrorKindRateLimited);
}

/// Addresses of media expire in the middle of a long download; each run asks the site for new ones.
bool MayHaveExpired(IHVError const& failure) {
    HVErrorKind const kind = failure.GetKind();
    return kind == HVErrorKindForbidden || kind == HVErrorKindGone;
}

} // namespace

/// A recording can't go on, nor can what ffmpeg fetches, and without a part file half a file passes for a
/// whole one.
bool HVDownloadTaskDownload::MayResume() const {
    auto const options = GetOptions();
    auto const general = options == nullptr ? nullptr : options->GetGeneralOptions();
    return resume_.has_value() && !outputPath_.empty() && !downloadItem_->IsLiveStream() &&
           conversion_.sections.empty() && (general == nullptr || general->GetUsePartFile());
}

/// The disk of a kept queue's row may be gone: gigabytes would be fetched for nothing.
HVDownloadTaskDownload::Result HVDownloadTaskDownload::TargetFault() const {
    int const fault = resume_.has_value() && !outputPath_.empty() ? FolderError(outputPath_) : 0;
    return fault == 0
               ? nullptr
               : FaultError("HVDownloadTaskDownload", __LINE__, "asyncProgressTask",
                            "No file can be made in the folder \"" + outputPath_ +
                                "\": " + FileErrorReason(fault) + ".",
                            FaultOfKind(fault == ENOSPC ? HVErrorKindDiskFull : HVErrorKindNoPermission));
}

std::shared_ptr<HVPartialFolder> HVDownloadTaskDownload::WaitForPartialFolder() {
    std::string const parent = PartialParent(*resume_, outputPath_);
    std::string const name = PartialName(*downloadItem_, outputPath_, GetOptions().get());
    bool inUse = false;
    auto folder = HVPartialFolder::Open(parent, name, inUse);
    for (double waited = 0; inUse && waited < kPatience && Sleep(kLook); waited += kLook)
        folder = HVPartialFolder::Open(parent, name, inUse);
    if (folder == nullptr)
        IHVLogConfig::Printf(IHVLogConfig::LogLevelWarning,
                             "The download begins anew: its partial data in \"%s\" %s", parent.c_str(),
                             inUse ? "is in use" : "can't be reached");
    return folder;
}

/// False where the random name stays.
bool HVDownloadTaskDownload::UsePartialFolder(TempFile& file) {
    if (!MayResume())
        return false;
    auto partial = WaitForPartialFolder();
    if (partial == nullptr)
        return false;
    // The tool takes a path for a template, and the target's may hold anything.
    std::string const link = IHVFileProvider::RemovePathExtension(file.path);
    std::error_code failure;
    std::filesystem::create_directory_symlink(partial->Path(), link, failure);
    if (failure)
        return false;
    std::string const name = IHVFileProvider::AppendPathExtension(kFileName, file.extension);
    file.path = IHVFileProvider::AppendPathComponent(partial->Path(), name);
    file.toolPath = IHVFileProvider::AppendPathComponent(link, name);
    file.partial = std::move(partial);
    return true;
}

HVDownloadTaskDownload::Result HVDownloadTaskDownload::RunWithRetries(std::function<Result()> const& run) {
    if (!resume_.has_value())
        return run();
    int retry = 0;
    std::uint64_t furthest = 0;
    for (;;) {
        auto result = run();
        std::uint64_t bytes = 0;
        Track([&bytes](HVProgressTracker& tracker) {
            bytes = tracker.Now().bytes;
            return false;
        });
        bool const further = bytes > furthest;
        retry = further ? 1 : retry + 1;
        furthest = std::max(furthest, bytes);
        if (result->Succeed() || UserCancel() || retry > resume_->retries ||
            !(CanPassSoon(*result) || (further && MayHaveExpired(*result))) || !WaitToRetry(*result, retry))
            return UserCancel() && !result->Succeed()
                       ? IHVError::MallocCancel("HVDownloadTaskDownload", __LINE__, "asyncProgressTask")
                       : result;
    }
}

bool HVDownloadTaskDownload::WaitToRetry(IHVError const& failure, int retry) {
    double const grown = resume_->retryDelay * static_cast<double>(1U << std::min(retry - 1, 20));
    double const wait = std::max(WithJitter(std::min(grown, resume_->longestDelay)),
                                 static_cast<double>(failure.GetRetryDelay()));
    IHVLogConfig::Printf(IHVLogConfig::LogLevelDefault, "Try %d of %d in %.1f s: %s", retry, resume_->retries,
                         wait, failure.GetPlainMessage().c_str());
    Track([wait](HVProgressTracker& tracker) {
        tracker.WaitToRetry(wait);
        return true;
    });
    return Sleep(wait);
}

bool HVDownloadTaskDownload::WaitForTurn() {
    // A stop may fall between the look at the clock and the wait, and another row may be quicker.
    while (pacer_ != nullptr) {
        double const wait = pacer_->Claim();
        if (wait <= 0)
            break;
        TrackPhase(HVDownloadPhaseWaiting);
        if (!Sleep(std::min(wait, kLongestNap)))
            return false;
    }
    return true;
}

bool HVDownloadTaskDownload::Sleep(double seconds) {
    struct Wake {
        std::mutex mutex;
        std::condition_variable changed;
        bool stopped = false;
    };
    auto const wake = std::make_shared<Wake>(); // a request under way may outlast the attachment
    HVToolStop::Attachment const attachment(Stop(), [wake] {
        std::lock_guard const lock(wake->mutex);
        wake->stopped = true;
        wake->changed.notify_all();
    });
    std::unique_lock lock(wake->mutex);
    auto const until = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    // A request that came before the attachment is seen here.
    return !UserCancel() && !wake->changed.wait_until(lock, until, [&wake] { return wake->stopped; });
}

} // namespace Halvorn

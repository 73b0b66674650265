#pragma once
// The download of one item: runs the tool into a random name of the temporary folder, makes one rising
// percentage of its progress lines, and gives the finished file its place.
//
// Thread-safety: the run is on the worker thread; the tool's output is parsed on the thread that delivers it.

#include "HVConversion.h"
#include "HVDownloadSkip.h"
#include "HVDownloadTask.h"
#include "HVFormatWish.h"
#include "HVMetadataFiles.h"
#include "HVPartialData.h"
#include "HVProgressTracker.h"
#include "HVRecording.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace Halvorn {

class HVDownloadItem;
class HVToolRun;
class HVStartPacer;
class HVTotalRate;
class IHVDownloadArchive;
struct HVFinishedFile;
struct HVToolResult;

/// What a run analyses its item for.
struct HVItemAnalysis {
    std::optional<HVFormatWish> wish; ///< empty for the best, or the nearest to the chosen one
    /// Gets the item as it is found, with its new format, and the code of its former one, on the worker.
    std::function<void(HVDownloadItem const&, std::string)> found;
};

class HVDownloadTaskDownload final : public HVDownloadTask {
public:
    HVDownloadTaskDownload(std::shared_ptr<IHVDownloadItem> item, std::string outputPath);

    HVTaskType GetTaskType() override { return HVTaskTypeDownload; }
    std::string TaskURL() const override;
    /// What the tool is to download from.
    std::string ItemAddress() const;
    void asyncProgressTask() override;

    /// Interrupts the tool, once, so that it completes what it records. False for what is no live stream.
    bool FinishRecording();
    HVRecording const& Recording() const { return recording_; }

    /// Gets each record of the progress, one at a time; to be set before the start.
    void SetProgressRecorder(std::function<void(HVDownloadProgress const&)> recorder) {
        recorder_ = std::move(recorder);
    }
    /// Has the run go on where an earlier one stopped, and keep what it leaves; to be set before the start.
    void SetResume(HVResumeSettings settings) { resume_ = std::move(settings); }
    /// How the file is called, see HVNameTemplate; empty for the item's name. To be set before the start.
    void SetNameTemplate(std::string text) { nameTemplate_ = std::move(text); }
    /// Remembers the item once its file is in its place; to be set before the start.
    void SetArchive(std::shared_ptr<IHVDownloadArchive> archive) { archive_ = std::move(archive); }
    /// Flags of HVDownloadSkip; to be set before the start.
    void SetSkips(int skips) { skips_ = skips; }
    /// Which of them has ended the run.
    HVDownloadSkip Skipped() const { return skipped_; }
    /// Has the run analyse an item that has no format, or one that the site no longer has; to be set before
    /// the start.
    void SetAnalysis(HVItemAnalysis analysis) { analysis_ = std::move(analysis); }
    /// Has the tool write these beside the file; to be set before the start.
    void SetMetadataFiles(HVMetadataFiles files) { metadata_ = files; }
    /// Is called with the path of the finished file, the last one of several, before they get their places,
    /// and with the folder where that is. Where it returns a failure, what is kept for the next start waits
    /// for that; other files get their places all the same. To be set before the start.
    using BeforePlacing =
        std::function<std::shared_ptr<IHVError const>(std::string const&, std::string const&)>;
    void SetBeforePlacing(BeforePlacing function) { beforePlacing_ = std::move(function); }
    /// Has the run wait for its turn; to be set before the start.
    void SetPacer(std::shared_ptr<HVStartPacer> pacer) { pacer_ = std::move(pacer); }
    /// Has the run share the rate; to be set before the start.
    void SetTotalRate(std::shared_ptr<HVTotalRate> rate) { totalRate_ = std::move(rate); }
    /// Takes one chunk of the tool's output and reports what it says of the progress.
    void ParseDownloadOutputInfo(std::string const& text);
    /// Whether the text behind "[download]" tells the progress of a running transfer.
    static bool IsDownloadSpeedInfo(std::string const& line);
    /// Percentage of the whole job, and through `status` the text for a user. Throws what a token throws that
    /// looks like a percentage and is none.
    static float ParsePercentageInfo(std::string const& line, std::string& status);
    /// Changes the counters when the line holds them; both are at least 1 afterwards.
    static void ParseFragInfo(int& fragCount, int& fragIndex, std::string const& line);

private:
    /// One run's file, where the tool writes it.
    struct TempFile {
        std::string path;
        std::string toolPath; ///< the same, as the tool is told of it
        std::string extension;
        std::shared_ptr<HVPartialFolder> partial; ///< empty for a random name
    };
    struct MadeFile {
        std::string path;
        std::string extension;
        std::string part; ///< behind the item's name; empty for the whole item
    };
    static TempFile MakeTempFile(std::string const& folder, std::string const& extension);
    /// Why the conversion can't be made, so that the tool need not begin; empty where it can.
    std::shared_ptr<IHVError const> ConversionError() const;
    /// What an earlier run has told to be whole.
    void ForgetMadeFiles(TempFile const& file) const;
    /// The whole files of a run; none until a converting one has told of all that it is to make.
    std::vector<MadeFile> MadeFiles(TempFile const& file) const;
    bool FailedAfterTheSite(HVToolResult const& outcome) const;
    using Result = std::shared_ptr<IHVError const>;
    /// The whole run, between the reports of its start and its end.
    Result Download();
    /// Why it can't be made, as far as that is known; empty otherwise.
    Result Obstacle() const;
    /// Why what goes on from run to run can have no place; empty where it can.
    Result TargetFault() const;
    /// For an item with a format.
    Result Fetch();
    void BeginProgress();
    bool NeedsAnalysis() const;
    bool MayChooseAnew(IHVError const& failure) const;
    /// Takes what the site has of the item now, and chooses the format.
    Result Analyse();
    void DropFormerPartial() const;
    /// Whether there is nothing to fetch, see HVDownloadSkip.
    bool ClaimItem();
    void ReleaseItem();
    bool SkipsItem();
    Result RunWithRetries(std::function<Result()> const& run);
    bool UsePartialFolder(TempFile& file);
    bool MayResume() const;
    std::shared_ptr<HVPartialFolder> WaitForPartialFolder();
    bool WaitToRetry(IHVError const& failure, int retry);
    /// Waits so long, unless it is stopped: false then.
    bool Sleep(double seconds);
    /// Waits until the queue's pause between starts is over. False after a stop.
    bool WaitForTurn();
    /// Downloads by the analysis's document where that is kept, else, or where that fails, by the address.
    std::shared_ptr<IHVError const> RunTool(TempFile file);
    /// The path of that document; empty where it can't serve.
    std::string DocumentToUse();
    /// One run. Sets `failed` where the tool delivered no file and was not stopped either.
    std::shared_ptr<IHVError const> RunTool(TempFile const& file, std::vector<std::string> const& args,
                                            bool& failed);
    bool IsFinished(TempFile const& file, HVToolResult const& outcome);
    Result ResultOf(TempFile const& file, HVToolResult const& outcome);
    std::shared_ptr<IHVError const> Place(TempFile const& file);
    /// Gives the file its folder, which is made, and its name; returns why that can't be done.
    std::string NamePlace(HVFinishedFile& finished) const;
    /// Why the files may not get their places now; empty where they may.
    Result PlacingObstacle(HVFinishedFile const& last, bool partial) const;
    std::shared_ptr<IHVError const> PlaceAll(std::vector<HVFinishedFile> const& files, bool partial,
                                             std::size_t subtitles);
    static void RemoveLeftovers(HVToolRun& run, TempFile const& file, bool placed);
    /// Changes the record, and hands it on when `change` says that it has changed.
    void Track(std::function<bool(HVProgressTracker&)> const& change);
    void TrackPhase(HVDownloadPhase phase);
    /// Tells the item where the files beside the media file are, of which so many are subtitles.
    void TellOfSides(std::vector<std::string> const& sides, std::size_t subtitles) const;
    /// Finds the subtitles that the tool made beside the file `path`.
    void TakeSubtitles(HVFinishedFile& finished, std::string const& path) const;
    /// The same for one language, in the first of these formats.
    void TakeSubtitle(HVFinishedFile& finished, std::string const& path, std::string const& language,
                      std::vector<std::string> const& formats) const;

    std::shared_ptr<IHVDownloadItem> const downloadItem_;
    std::string const outputPath_;
    std::string nameTemplate_;
    HVMetadataFiles metadata_;
    std::shared_ptr<IHVDownloadArchive> archive_;
    int skips_ = HVDownloadSkipNone;
    std::atomic<HVDownloadSkip> skipped_ = HVDownloadSkipNone;
    std::optional<HVItemAnalysis> analysis_;
    std::string formerPartial_; ///< name of the partial data of a format that the site no longer has
    std::shared_ptr<HVStartPacer> pacer_;
    std::shared_ptr<HVTotalRate> totalRate_;
    std::atomic<float> progress_ = 0.0F;
    std::atomic<bool> live_ = false; ///< the item is a live stream, as far as that is known
    HVToolStop finish_;              ///< requested when the recording is to be finished
    HVRecording recording_;
    std::optional<HVResumeSettings> resume_;
    HVConversion conversion_; ///< of the run
    std::function<void(HVDownloadProgress const&)> recorder_;
    BeforePlacing beforePlacing_;
    std::mutex trackerMutex_;
    HVProgressTracker tracker_;
};

} // namespace Halvorn

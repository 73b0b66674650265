#pragma once
// The analysis of a web address: runs the tool and makes items and playlists of what it prints.
//
// All operations but the constructor and the getters run on the task's worker thread; what loads an entry of
// a list also on the threads of HVEntryLanes, several at the same time.

#include "HVAnalysisSettings.h"
#include "HVDownloadTask.h"

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace Halvorn {

class HVJsonObjectFormat;
class HVToolLanes;
class HVJsonObjectPlayItem;
class HVJsonObjectPlayList;
class HVJsonObjectPlaylistEntry;
class IHVDownloadFormat;
class IHVDownloadThumbnail;
struct HVToolResult;

/// What the tool is asked to print.
enum class HVAnalysisRoute { Json, PlainText };

class HVDownloadTaskParser final : public HVDownloadTask {
public:
    explicit HVDownloadTaskParser(std::string url, HVAnalysisRoute route = HVAnalysisRoute::Json);

    HVTaskType GetTaskType() override { return HVTaskTypeParse; }
    std::string TaskURL() const override { return taskURL_; }
    void asyncProgressTask() override;

    /// To be changed before the start alone.
    HVAnalysisSettings& Settings() { return settings_; }

    /// The analysis from the tool's JSON.
    void UsingJsonOutput();
    /// The same from the tables and lines that the tool prints for people.
    void UsingPainTextOutput();
    /// The analysis from tables, behind the report of its start.
    void CompleteFromTables();

    // One tool run, and what its text says.
    std::shared_ptr<IHVError const> SearchDownloadItems(std::string& output, std::string& errorText,
                                                        bool jsonOutput);
    /// `lanes` where more runs with the same settings are to come; those of the group where it is empty.
    std::shared_ptr<IHVError const> GetResultFromServer(std::string& output, std::string& errorText,
                                                        std::vector<std::string> const& args,
                                                        std::shared_ptr<HVToolLanes> const& lanes = {});
    static std::shared_ptr<IHVError const> ParseFatalError(std::string const& errorText);
    static int ParseSearchResult(std::string const& output);

    // From JSON to the model.
    std::shared_ptr<IHVError const> GetPlaylistItem(std::shared_ptr<IHVPlayList>& playList,
                                                    std::shared_ptr<HVJsonObjectPlaylistEntry> entry,
                                                    int index);
    std::shared_ptr<IHVError const> GetPlayItem(std::shared_ptr<IHVDownloadItem>& item,
                                                std::shared_ptr<HVJsonObjectPlayItem> json);
    /// Keeps the document for the item's download, where that is wanted. `listURL` is the address of an item
    /// that has none of its own.
    void KeepForDownload(IHVDownloadItem& item, HVJsonObjectPlayItem const& json, std::string const& listURL);
    void GetPlayItemThumbnail(std::shared_ptr<IHVDownloadItem>& item,
                              std::shared_ptr<HVJsonObjectPlayItem>& json);
    static void GetPlayItemFormats(std::shared_ptr<IHVDownloadItem>& item,
                                   std::shared_ptr<HVJsonObjectPlayItem>& json);
    static void GetPlayItemSubtitles(std::shared_ptr<IHVDownloadItem>& item,
                                     std::shared_ptr<HVJsonObjectPlayItem>& json);
    void GetPlaylistThumbnail(std::shared_ptr<IHVPlayList>& playList,
                              std::shared_ptr<HVJsonObjectPlayList>& json);
    /// The best thumbnail whose bytes could be fetched, else the best; empty for none. Where the bytes are
    /// not wanted, the best.
    std::shared_ptr<IHVDownloadThumbnail>
    FindBestThumbnail(std::vector<std::shared_ptr<IHVDownloadThumbnail>>& thumbnails);
    static bool ContainDownloadFormat(IHVDownloadFormat const* format,
                                      std::vector<std::shared_ptr<IHVDownloadFormat>> const& formats);
    /// Pairs each video with the best audio that it can be merged with, and puts all that can be offered in
    /// order, best first. Sorts `audios` on the way.
    static std::vector<std::shared_ptr<IHVDownloadFormat>>
    MergeDownloadFormats(std::vector<std::shared_ptr<IHVDownloadFormat>>& videos,
                         std::vector<std::shared_ptr<IHVDownloadFormat>>& audios,
                         std::vector<std::shared_ptr<IHVDownloadFormat>>& others, bool liveStream);

    // From tables to the model. `index` is the position in the playlist, negative when there is none.
    std::shared_ptr<IHVError const> LoadDownloadItem(std::vector<std::shared_ptr<IHVDownloadItem>>& items,
                                                     int index);
    std::shared_ptr<IHVError const> ParseDownloadItemInfo(std::string const& output,
                                                          std::shared_ptr<IHVDownloadItem> item);

    using Result = std::shared_ptr<IHVError const>;
    /// Keeps the failure of an entry for FailedEntries, unless a stop has made it fail.
    void KeepFailure(int index, std::string const& url, Result const& result, int level = 0);
    /// See IHVDownloadTask::FailedEntries.
    std::vector<FailedEntry> Failures() const;

private:
    HVToolResult RunTool(std::vector<std::string> const& args, std::shared_ptr<HVToolLanes> const& lanes);
    /// The item of an entry, on any thread. It does not know its playlist yet.
    Result LoadPlaylistItem(std::shared_ptr<IHVDownloadItem>& item, std::string const& listURL,
                            std::shared_ptr<HVJsonObjectPlaylistEntry> const& entry, int index,
                            std::shared_ptr<HVToolLanes> const& lanes = {});
    static void TakePlaylistItem(std::shared_ptr<IHVPlayList> const& playList,
                                 std::shared_ptr<IHVDownloadItem> const& item, int index);
    void ReportEntry(int index, Result const& result, std::shared_ptr<IHVDownloadItem> const& item,
                     std::pair<int, int> loaded);
    bool FetchThumbnail(IHVDownloadThumbnail& thumbnail, std::chrono::steady_clock::time_point until);
    static void TakeAllFormats(IHVDownloadItem& item,
                               std::vector<std::shared_ptr<IHVDownloadFormat>> formats);
    void CompleteSingleItem(std::shared_ptr<HVJsonObjectPlayItem> json);
    void CompletePlaylist(std::shared_ptr<HVJsonObjectPlayList> json, std::string const& errorText);

    std::string const taskURL_;
    HVAnalysisRoute const route_;
    mutable std::mutex failuresMutex_;
    std::vector<FailedEntry> failures_;
    HVAnalysisSettings settings_;
};

} // namespace Halvorn

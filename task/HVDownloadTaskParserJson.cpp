// The analysis from the tool's JSON: a single item from its first run, a playlist with one more run for each
// entry.

#include "HVArgsBuilder.h"
#include "HVDownloadItem.h"
#include "HVDownloadSubtitle.h"
#include "HVDownloadTaskParser.h"
#include "HVDownloadThumbnail.h"
#include "HVFullAnalysis.h"
#include "HVGroupMember.h"
#include "HVJsonObjectPlayItem.h"
#include "HVJsonObjectPlayList.h"
#include "HVJsonObjectPlaylistEntry.h"
#include "HVJsonObjectSubtitle.h"
#include "HVJsonObjectThumbnail.h"
#include "HVKeptDocument.h"
#include "HVStableSort.h"
#include "HVToolAnswer.h"
#include "HVToolLanes.h"
#include "IHVDownloadItem.h"
#include "IHVJsonValue.h"
#include "IHVLogConfig.h"
#include "IHVPlayList.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace Halvorn {

namespace {

constexpr char kFile[] = "HVDownloadTaskParser";
/// How long the best picture of an item or a playlist may be looked for.
constexpr std::chrono::seconds kThumbnailsTime(60);
/// How long a picture may take by HTTP before the tool is to fetch it, in milliseconds.
constexpr unsigned int kHTTPTime = 15'000;

/// The thumbnails that one of the two sources lists, as far as they load. They are asked for with headers of
/// their own, or with `headers`.
template <typename Source, typename Get>
std::vector<std::shared_ptr<IHVDownloadThumbnail>>
LoadThumbnails(Source& source, Get get, HVAnalysisSettings const& settings, HVHTTPHeaders const& headers) {
    std::vector<std::shared_ptr<IHVDownloadThumbnail>> thumbnails;
    for (int i = 0; i < source.GetThumbnailCount(); ++i) {
        auto thumbnail = std::make_shared<HVDownloadThumbnail>();
        auto const json = (source.*get)(i);
        if (!thumbnail->LoadFromJson(json) && !(settings.webP && thumbnail->IsUsableWebP()))
            continue;
        auto own = json->GetHeaders();
        thumbnail->SetHeaders(own.empty() ? headers : std::move(own));
        thumbnails.push_back(std::move(thumbnail));
    }
    // The tool lists the best last: that counts where the sizes, which may be unknown, decide nothing.
    if (settings.full)
        std::reverse(thumbnails.begin(), thumbnails.end());
    return thumbnails;
}

/// The subtitles that people made, by name.
std::vector<std::shared_ptr<IHVDownloadSubtitle>> AuthoredSubtitles(HVJsonObjectPlayItem const& json) {
    std::vector<std::shared_ptr<IHVDownloadSubtitle>> subtitles;
    auto const source = json.GetAuthoredJsonObject();
    for (auto const& code : json.GetAuthoredNameVector()) {
        auto subtitle = std::make_shared<HVDownloadSubtitle>();
        if (!subtitle->LoadFromJsonObject(code, source) || subtitle->GetSubtitleFormats().empty())
            continue;
        subtitle->SetAuthored();
        subtitles.push_back(std::move(subtitle));
    }
    HVStableSort(subtitles, [](auto& left, auto& right) { return CompareByName(left, right); });
    return subtitles;
}

bool IsLarger(IHVDownloadThumbnail const& left, IHVDownloadThumbnail const& right) {
    return left.GetWidth() != right.GetWidth() ? left.GetWidth() > right.GetWidth()
                                               : left.GetHeight() > right.GetHeight();
}

} // namespace

void HVDownloadTaskParser::UsingJsonOutput() {
    if (settings_.full) {
        HVFullAnalysis(*this, settings_).Run();
        return;
    }
    notifyTaskStarted("Parse started");
    std::string output;
    std::string errorText;
    auto const result = SearchDownloadItems(output, errorText, true);
    if (result == nullptr || !result->Succeed()) {
        notifyTaskComplete(result);
        return;
    }
    // One parse serves both readings, and the text, which may be large, goes before the work begins.
    std::shared_ptr<IHVError const> unreadable;
    auto const root = IHVJsonReader::ReadJsonString(output, &unreadable);
    output = std::string();
    auto playListJson = std::make_shared<HVJsonObjectPlayList>();
    if (playListJson->LoadFromJsonValue(root)) {
        CompletePlaylist(playListJson, errorText);
        return;
    }
    auto itemJson = std::make_shared<HVJsonObjectPlayItem>();
    if (itemJson->LoadFromJsonValue(root)) {
        CompleteSingleItem(itemJson);
        return;
    }
    notifyTaskComplete(AnswerFailure(__LINE__, "UsingJsonOutput", "err:", errorText, unreadable));
}

void HVDownloadTaskParser::CompleteSingleItem(std::shared_ptr<HVJsonObjectPlayItem> json) {
    auto item = IHVDownloadItem::MallocDownloadItem(taskURL_);
    auto const result = GetPlayItem(item, json);
    if (result != nullptr && result->Succeed()) {
        KeepForDownload(*item, *json, {});
        // A cancel here is reported, and then the success too: both ends are true.
        if (UserCancel())
            notifyTaskComplete(IHVError::MallocCancel(kFile, __LINE__, "UsingJsonOutput"));
        else
            notifyGetPlayItem(item);
    }
    notifyTaskComplete(result);
}

void HVDownloadTaskParser::CompletePlaylist(std::shared_ptr<HVJsonObjectPlayList> json,
                                            std::string const& errorText) {
    auto playList = IHVPlayList::MallocPlayList(taskURL_, json);
    // The run for the picture has a fault of its own.
    auto const nothing = ToolFailure(__LINE__, "UsingJsonOutput", errorText, "NO play list item found.");
    GetPlaylistThumbnail(playList, json);
    int const count = json->GetEntriesCount();
    if (count == 0) {
        notifyTaskComplete(nothing);
        return;
    }
    Result lastResult;
    auto const toolLanes = std::make_shared<HVToolLanes>();
    HVEntryLanes lanes(
        settings_.lanes, [this] { return UserCancel(); }, Group());
    std::vector<HVEntryLanes::Entry> entries;
    for (int i = 0; i < count; ++i) {
        auto const entry = json->GetEntriesJsonObject(i);
        auto const item = std::make_shared<std::shared_ptr<IHVDownloadItem>>();
        auto load = [=, this] { return LoadPlaylistItem(*item, taskURL_, entry, i, toolLanes); };
        auto report = [=, this, &lanes, &lastResult](Result const& result) {
            lastResult = result;
            if (result->Succeed())
                TakePlaylistItem(playList, *item, i);
            else
                KeepFailure(i, entry->GetURL(), result);
            ReportEntry(i, result, *item, {lanes.Loaded(), count});
        };
        std::string const url = entry->GetURL();
        entries.push_back({url.empty() ? taskURL_ : url, std::move(load), std::move(report)});
    }
    lanes.AddInFront(std::move(entries));
    if (auto const group = Group())
        group->LeaveFirstPlace();
    lanes.Run();
    if (UserCancel()) {
        notifyTaskComplete(IHVError::MallocCancel(kFile, __LINE__, "UsingJsonOutput"));
    } else if (playList->GetDownloadItemCount() < 1) {
        notifyTaskComplete(lastResult);
    } else {
        notifyGetPlayList(playList);
        notifyTaskComplete(IHVError::MallocSucceed(kFile, __LINE__, "UsingJsonOutput"));
    }
}

/// Tells of one entry, its item or its failure, and of `loaded` of so many.
void HVDownloadTaskParser::ReportEntry(int index, Result const& result,
                                       std::shared_ptr<IHVDownloadItem> const& item,
                                       std::pair<int, int> loaded) {
    auto const [done, count] = loaded;
    if (result->Succeed())
        notifyGetPlayItem(item);
    else
        IHVLogConfig::Printf("Entry %d of %d can't be loaded: %s", index + 1, count,
                             result->GetErrorMessage().c_str());
    notifyTaskProgress("Loading " + std::to_string(done) + " of the playlist with " + std::to_string(count) +
                           " items",
                       static_cast<float>(done * 100.0 / count));
}

std::shared_ptr<IHVError const>
HVDownloadTaskParser::GetPlaylistItem(std::shared_ptr<IHVPlayList>& playList,
                                      std::shared_ptr<HVJsonObjectPlaylistEntry> entry, int index) {
    std::shared_ptr<IHVDownloadItem> item;
    auto result = LoadPlaylistItem(item, playList->GetPlaylistURL(), entry, index);
    if (result != nullptr && result->Succeed())
        TakePlaylistItem(playList, item, index);
    return result;
}

void HVDownloadTaskParser::TakePlaylistItem(std::shared_ptr<IHVPlayList> const& playList,
                                            std::shared_ptr<IHVDownloadItem> const& item, int index) {
    item->SetPlayList(playList, index);
    playList->AppendDownloadItem(item);
}

HVDownloadTaskParser::Result
HVDownloadTaskParser::LoadPlaylistItem(std::shared_ptr<IHVDownloadItem>& item, std::string const& listURL,
                                       std::shared_ptr<HVJsonObjectPlaylistEntry> const& entry, int index,
                                       std::shared_ptr<HVToolLanes> const& lanes) {
    std::string const url = entry == nullptr ? std::string() : entry->GetURL();
    // Other than the first run's, an entry's command line names no JS runtime; the child's PATH does.
    HVArgsBuilder const builder(OptionsFor(url.empty() ? listURL : url));
    auto const args = url.empty() ? builder.BuildParseListItemArgs(listURL, index, true)
                                  : builder.BuildParsePlayItemArgs(url, true);
    std::string output;
    std::string errorText;
    auto run = GetResultFromServer(output, errorText, args, lanes);
    if (run == nullptr || !run->Succeed())
        return run;
    std::shared_ptr<IHVError const> unreadable;
    auto const root = IHVJsonReader::ReadJsonString(output, &unreadable);
    output = std::string();
    std::shared_ptr<HVJsonObjectPlayItem> json;
    if (url.empty()) {
        // The answer is a playlist that holds just this entry.
        HVJsonObjectPlayList answer;
        if (!answer.LoadFromJsonValue(root) || answer.GetEntriesCount() <= 0)
            return AnswerFailure(__LINE__, "GetPlaylistItem", "", errorText, unreadable);
        if (auto const first = answer.GetEntriesJsonObject(0))
            json = std::make_shared<HVJsonObjectPlayItem>(first->GetJsonValue());
    } else {
        json = std::make_shared<HVJsonObjectPlayItem>();
        if (!json->LoadFromJsonValue(root))
            return AnswerFailure(__LINE__, "GetPlaylistItem", "", errorText, unreadable);
    }
    if (json == nullptr)
        return ToolFailure(__LINE__, "GetPlaylistItem", errorText, "No item json string exists.");
    item = IHVDownloadItem::MallocDownloadItem(url);
    auto result = GetPlayItem(item, json);
    if (result != nullptr && result->Succeed())
        KeepForDownload(*item, *json, listURL);
    return result;
}

std::shared_ptr<IHVError const>
HVDownloadTaskParser::GetPlayItem(std::shared_ptr<IHVDownloadItem>& item,
                                  std::shared_ptr<HVJsonObjectPlayItem> json) {
    item->SetFileName(json->GetFileName());
    item->SetDuration(json->GetDurationSeconds());
    item->SetDuration(json->GetDurationString());
    item->SetLiveStream(json->IsLiveStream());
    IHVLogConfig::Printf("file name %s\n", item->GetFileName().c_str());
    GetPlayItemThumbnail(item, json);
    IHVLogConfig::Printf("get Formats\n");
    GetPlayItemFormats(item, json);
    IHVLogConfig::Printf("get subtitle\n");
    GetPlayItemSubtitles(item, json);
    if (auto* const concrete = dynamic_cast<HVDownloadItem*>(item.get())) {
        concrete->TakeDetails(json->GetDetails(), settings_.documents ? json->GetText() : std::string());
        concrete->TakeIdentity(json->GetIdentity());
        concrete->TakeAuthored(AuthoredSubtitles(*json));
    }
    if (item->Valid())
        return IHVError::MallocSucceed(kFile, __LINE__, "GetPlayItem");
    return IHVError::MallocError(kFile, __LINE__, "GetPlayItem", -1, "Error",
                                 "Failed to load play item json data.");
}

void HVDownloadTaskParser::KeepForDownload(IHVDownloadItem& item, HVJsonObjectPlayItem const& json,
                                           std::string const& listURL) {
    auto* const own = dynamic_cast<HVDownloadItem*>(&item);
    // What a live stream's document names is gone within seconds.
    if (own == nullptr || !settings_.forDownload || item.IsLiveStream())
        return;
    std::string const& address = item.DownloadURL().empty() ? listURL : item.DownloadURL();
    own->TakeDocument(HVKeptDocument::Keep(json.GetJsonValue(), address, Terms(address)));
}

void HVDownloadTaskParser::GetPlayItemSubtitles(std::shared_ptr<IHVDownloadItem>& item,
                                                std::shared_ptr<HVJsonObjectPlayItem>& json) {
    std::vector<std::shared_ptr<IHVDownloadSubtitle>> subtitles;
    for (auto const& name : json->GetSubtitleNameVector()) {
        auto subtitle = std::make_shared<HVDownloadSubtitle>();
        // It is the language's name that is compared with a format's here; that is how the filter works.
        if (subtitle->LoadFromJsonObject(name, json->GetSubtitleJsonObject(name)) &&
            !subtitle->GetLanguageName().empty() && !subtitle->GetLanguageCode().empty() &&
            subtitle->GetLanguageName() != "json3")
            subtitles.push_back(std::move(subtitle));
    }
    HVStableSort(subtitles, [](auto& left, auto& right) { return CompareByName(left, right); });
    item->AddDownloadSubtitles(subtitles);
}

void HVDownloadTaskParser::GetPlayItemThumbnail(std::shared_ptr<IHVDownloadItem>& item,
                                                std::shared_ptr<HVJsonObjectPlayItem>& json) {
    auto thumbnails =
        LoadThumbnails(*json, &HVJsonObjectPlayItem::GetThumbnailJsonObject, settings_, json->GetHeaders());
    item->SetThumbnail(FindBestThumbnail(thumbnails));
}

void HVDownloadTaskParser::GetPlaylistThumbnail(std::shared_ptr<IHVPlayList>& playList,
                                                std::shared_ptr<HVJsonObjectPlayList>& json) {
    auto thumbnails = LoadThumbnails(*json, &HVJsonObjectPlayList::GetThumbJsonObject, settings_, {});
    playList->SetThumbnail(FindBestThumbnail(thumbnails));
}

std::shared_ptr<IHVDownloadThumbnail>
HVDownloadTaskParser::FindBestThumbnail(std::vector<std::shared_ptr<IHVDownloadThumbnail>>& thumbnails) {
    if (thumbnails.empty())
        return nullptr;
    HVStableSort(thumbnails, [this](auto& left, auto& right) {
        return settings_.full ? IsLarger(*left, *right) : left->BetterThan(right.get());
    });
    if (!settings_.thumbnailBytes)
        return thumbnails.front();
    // A host that does not answer must not hold up the analysis once for each size that it offers.
    auto const until = std::chrono::steady_clock::now() + kThumbnailsTime;
    for (auto const& thumbnail : thumbnails)
        if (FetchThumbnail(*thumbnail, until))
            return thumbnail;
    return thumbnails.front();
}

bool HVDownloadTaskParser::FetchThumbnail(IHVDownloadThumbnail& thumbnail,
                                          std::chrono::steady_clock::time_point until) {
    auto const left = [until] {
        auto const time =
            std::chrono::duration_cast<std::chrono::milliseconds>(until - std::chrono::steady_clock::now());
        return static_cast<unsigned int>(
            std::clamp<std::chrono::milliseconds::rep>(time.count(), 0, HVDownloadThumbnail::kFetchTime));
    };
    auto* const own = dynamic_cast<HVDownloadThumbnail*>(&thumbnail);
    if (UserCancel() || left() == 0)
        return false;
    auto const options = OptionsFor(thumbnail.GetDownloadURL());
    if (own == nullptr)
        return thumbnail.DownLoadThumbnailData(options);
    if (settings_.thumbnailsByHTTP && own->FetchByHTTP(options.get(), Stop(), std::min(left(), kHTTPTime)))
        return true;
    return !UserCancel() && left() > 0 && own->FetchData(options, GetJSRuntimePath(), Stop(), left());
}

} // namespace Halvorn

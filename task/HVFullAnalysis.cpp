#include "HVFullAnalysis.h"

#include "HVApplicationCall.h"
#include "HVArgsBuilder.h"
#include "HVCallback.h"
#include "HVDownloadItem.h"
#include "HVDownloadTaskParser.h"
#include "HVGroupMember.h"
#include "HVJsonObjectPlayItem.h"
#include "HVJsonObjectPlayList.h"
#include "HVListDocument.h"
#include "HVPlayList.h"
#include "HVToolAnswer.h"
#include "HVToolLanes.h"
#include "HVToolReport.h"
#include "IHVDownloadItem.h"
#include "IHVLogConfig.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace Halvorn {

namespace {

constexpr char kFile[] = "HVFullAnalysis";

/// The playlist of a document, or of an entry that names one; both have a title and an identifier.
std::shared_ptr<HVPlayList> MakeList(HVJsonNode const& document, std::string const& address) {
    auto const json = std::make_shared<HVJsonObjectPlayList>();
    json->LoadFromJsonValue(document); // false for a video in several parts, which is a list like any other
    return std::make_shared<HVPlayList>(address, json);
}

bool InRange(std::pair<int, int> range, int number, int total) {
    auto const fromFront = [total](int end) { return end < 0 ? total + 1 + end : end; };
    return fromFront(range.first) <= number && (range.second == 0 || number <= fromFront(range.second));
}

/// A feed's own words go before those of the page that it leads to.
void TakeWordsOfEntry(IHVDownloadItem& item, HVListEntry const& told) {
    item.SetFileName(told.title);
    if (told.durationSeconds > 0)
        item.SetDuration(told.durationSeconds);
}

} // namespace

HVFullAnalysis::HVFullAnalysis(HVDownloadTaskParser& task, HVAnalysisSettings const& settings)
    : task_(task), settings_(settings), toolLanes_(std::make_shared<HVToolLanes>()),
      lanes_(
          settings.lanes, [&task] { return task.UserCancel(); }, task.Group()) {}

void HVFullAnalysis::Run() {
    task_.notifyTaskStarted("Parse started");
    std::string output;
    std::string errorText;
    auto const run = Search(output, errorText);
    if (run == nullptr || !run->Succeed()) {
        task_.notifyTaskComplete(run);
        return;
    }
    Result unreadable;
    auto const root = IHVJsonReader::ReadJsonString(output, &unreadable);
    output = std::string();
    if (task_.UserCancel())
        task_.notifyTaskComplete(IHVError::MallocCancel(kFile, __LINE__, "Run"));
    else if (IsListDocument(root))
        CompleteList(root, errorText);
    else if (IsItemDocument(root))
        CompleteItem(root);
    else if (ReadsTables(root, errorText))
        task_.CompleteFromTables();
    else
        task_.notifyTaskComplete(AnswerFailure(__LINE__, "Run", "err:", errorText, unreadable));
}

std::vector<std::string> HVFullAnalysis::RangeArgs() const {
    std::string text;
    for (auto const& [first, last] : settings_.ranges) {
        text += (text.empty() ? "" : ",") + std::to_string(first);
        if (last != first) // behind a number from the end a dash would be taken for a sign
            text += (first < 0 || last < 0 ? ":" : "-") + (last == 0 ? std::string() : std::to_string(last));
    }
    return text.empty() ? std::vector<std::string>() : std::vector<std::string>{"--playlist-items", text};
}

HVFullAnalysis::Result HVFullAnalysis::Search(std::string& output, std::string& errorText) {
    auto args = RangeArgs();
    if (args.empty() || task_.TaskURL().empty())
        return task_.SearchDownloadItems(output, errorText, true);
    // The tool lists what is asked for alone: of thousands of entries that saves seconds.
    HVArgsBuilder builder(task_.OptionsFor(task_.TaskURL()));
    builder.SetJsRuntimePath(task_.GetJSRuntimePath());
    for (auto& arg : builder.BuildSearchItemsArgs(task_.TaskURL(), true))
        args.push_back(std::move(arg));
    return task_.GetResultFromServer(output, errorText, args);
}

/// Only where the tool gave no JSON and no reason: a page that it refuses it would refuse again, and a tool
/// that was killed has not told that it has none.
bool HVFullAnalysis::ReadsTables(HVJsonNode const& root, std::string const& errorText) const {
    if (!settings_.tablesWhereNoJson || root != nullptr || !ReasonOf(RememberedFault(errorText)).empty() ||
        !HVDownloadTaskParser::ParseFatalError(errorText)->Succeed() ||
        errorText.find(": error: ") != std::string::npos)
        return false;
    IHVLogConfig::Printf(IHVLogConfig::LogLevelWarning,
                         "%s: the tool gave no JSON; reading its tables instead: no subtitles, and the "
                         "tool's file names for titles.",
                         task_.TaskURL().c_str());
    return true;
}

void HVFullAnalysis::CompleteItem(HVJsonNode const& document) {
    auto item = IHVDownloadItem::MallocDownloadItem(task_.TaskURL());
    auto const json = HVJsonObjectPlayItem::WholeDocument(document);
    auto result = task_.GetPlayItem(item, json);
    if (task_.UserCancel()) {
        task_.notifyTaskComplete(IHVError::MallocCancel(kFile, __LINE__, "CompleteItem"));
        return;
    }
    if (result->Succeed()) {
        task_.KeepForDownload(*item, *json, {});
        task_.notifyGetPlayItem(item);
    }
    task_.notifyTaskComplete(result);
}

void HVFullAnalysis::CompleteList(HVJsonNode const& document, std::string const& errorText) {
    HVListDocument const list(document, task_.TaskURL());
    top_ = MakeList(document, list.Address());
    opened_.insert(list.Address());
    top_->SetEntryCount(list.Total());
    if (list.Total() == 0) {
        task_.notifyTaskComplete(
            ToolFailure(__LINE__, "CompleteList", errorText, "NO play list item found."));
        return;
    }
    Enqueue(list, top_, 0);
    TakeThumbnail(document);
    if (auto const group = task_.Group())
        group->LeaveFirstPlace();
    lanes_.Run();
    Complete();
}

void HVFullAnalysis::TakeThumbnail(HVJsonNode const& document) {
    auto json = std::make_shared<HVJsonObjectPlayList>();
    json->LoadFromJsonValue(document);
    std::shared_ptr<IHVPlayList> list = top_;
    task_.GetPlaylistThumbnail(list, json);
}

void HVFullAnalysis::Complete() {
    if (task_.UserCancel()) {
        task_.notifyTaskComplete(IHVError::MallocCancel(kFile, __LINE__, "Complete"));
    } else if (lastFailure_ != nullptr && top_->GetDownloadItemCount() == 0 && !toldOfLists_) {
        task_.notifyTaskComplete(lastFailure_);
    } else {
        task_.notifyGetPlayList(top_);
        task_.notifyTaskComplete(IHVError::MallocSucceed(kFile, __LINE__, "Complete"));
    }
}

void HVFullAnalysis::Enqueue(HVListDocument const& document, std::shared_ptr<HVPlayList> const& list,
                             int level) {
    std::vector<HVListEntry> entries;
    entries.reserve(static_cast<std::size_t>(document.Count()));
    for (int i = 0; i < document.Count(); ++i)
        entries.push_back(document.Entry(i, level));
    if (settings_.list)
        task_.ReportInTurn([told = settings_.list, list, entries] {
            ReportTo(told, std::shared_ptr<IHVPlayList const>(list), entries);
        });
    std::vector<HVEntryLanes::Entry> wanted;
    for (std::size_t const place : WantedOf(document, entries)) {
        auto& told = entries[place];
        std::string address = told.url.empty() ? list->GetPlaylistURL() : told.url;
        auto const entry = std::make_shared<Entry const>(
            Entry{std::move(told), document.Node(static_cast<int>(place)), list});
        auto const found = std::make_shared<Found>();
        wanted.push_back({std::move(address), [=, this] { return Load(*entry, *found); },
                          [=, this](Result const& result) { Take(*entry, *found, result); }});
    }
    total_ += static_cast<int>(wanted.size());
    lanes_.AddInFront(std::move(wanted));
}

std::vector<std::size_t> HVFullAnalysis::WantedOf(HVListDocument const& document,
                                                  std::vector<HVListEntry> const& entries) const {
    // A listing of some entries alone may not tell how many there are.
    int const total = std::max(document.Total(), entries.empty() ? 0 : entries.back().number);
    std::vector<std::size_t> wanted;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        auto const holds = [&](auto const& range) { return InRange(range, entries[i].number, total); };
        if (settings_.ranges.empty() || std::any_of(settings_.ranges.begin(), settings_.ranges.end(), holds))
            wanted.push_back(i);
    }
    if (settings_.newest > 0)
        KeepNewest(document, entries, wanted);
    std::erase_if(wanted, [&](std::size_t i) { return !PassesFilter(entries[i]); });
    return wanted;
}

void HVFullAnalysis::KeepNewest(HVListDocument const& document, std::vector<HVListEntry> const& entries,
                                std::vector<std::size_t>& wanted) const {
    using Moment = std::pair<std::string, std::uint64_t>;
    std::vector<std::pair<Moment, std::size_t>> items;
    for (std::size_t const i : wanted)
        if (entries[i].kind == HVListEntry::Item)
            items.push_back({{entries[i].date, document.Seconds(static_cast<int>(i))}, i});
    // Stable: of one day, and where no dates are told, the order of the list counts.
    std::stable_sort(items.begin(), items.end(),
                     [](auto const& left, auto const& right) { return left.first > right.first; });
    std::set<std::size_t> older;
    for (auto i = static_cast<std::size_t>(settings_.newest); i < items.size(); ++i)
        older.insert(items[i].second);
    std::erase_if(wanted, [&older](std::size_t i) { return older.contains(i); });
}

bool HVFullAnalysis::PassesFilter(HVListEntry const& entry) const {
    bool wanted = true;
    if (settings_.filter)
        CallApplication([&] { wanted = settings_.filter(entry); });
    return wanted;
}

HVFullAnalysis::Result HVFullAnalysis::Load(Entry const& entry, Found& found) {
    if (entry.told.whole)
        return LoadItem(entry, entry.node, found);
    // A list that the listing only names is listed by a run of its own, if it is wanted.
    bool const named =
        entry.told.entryCount == 0 && !entry.told.url.empty() && entry.told.level < settings_.listDepth;
    if (entry.told.kind != HVListEntry::List || named)
        return LoadByRun(entry, found);
    found.list = entry.node;
    return IHVError::MallocSucceed(kFile, __LINE__, "Load");
}

HVFullAnalysis::Result HVFullAnalysis::LoadByRun(Entry const& entry, Found& found) {
    bool const byAddress = !entry.told.url.empty();
    auto const& listAddress = entry.list->GetPlaylistURL();
    HVArgsBuilder builder(task_.OptionsFor(byAddress ? entry.told.url : listAddress));
    builder.SetJsRuntimePath(task_.GetJSRuntimePath());
    // Flat, since the entry may turn out to be a list: of a channel the tool would analyse every video.
    auto args = byAddress ? RangeArgs() : std::vector<std::string>();
    args.emplace_back("--flat-playlist");
    for (auto& arg : byAddress ? builder.BuildParsePlayItemArgs(entry.told.url, true)
                               : builder.BuildParseListItemArgs(listAddress, entry.Index(), true))
        args.push_back(std::move(arg));
    std::string output;
    std::string errorText;
    if (auto run = task_.GetResultFromServer(output, errorText, args, toolLanes_);
        run == nullptr || !run->Succeed())
        return run;
    Result unreadable;
    auto document = IHVJsonReader::ReadJsonString(output, &unreadable);
    output = std::string();
    if (!byAddress) // the answer is the list with just this entry
        document = ReadArrayItem(document, "entries", 0);
    if (IsItemDocument(document))
        return LoadItem(entry, document, found);
    if (!IsListDocument(document))
        return AnswerFailure(__LINE__, "LoadByRun", "", errorText, unreadable);
    found.list = document;
    return IHVError::MallocSucceed(kFile, __LINE__, "LoadByRun");
}

HVFullAnalysis::Result HVFullAnalysis::LoadItem(Entry const& entry, HVJsonNode const& document,
                                                Found& found) {
    if (entry.told.url.empty() && entry.list->GetPlaylistURL().empty())
        return ToolFailure(__LINE__, "LoadItem", {}, "The entry has no address, and neither has its list.");
    auto item = IHVDownloadItem::MallocDownloadItem(entry.told.url);
    auto const json = HVJsonObjectPlayItem::WholeDocument(document);
    auto result = task_.GetPlayItem(item, json);
    if (result->Succeed())
        task_.KeepForDownload(*item, *json, entry.list->GetPlaylistURL());
    if (auto* const own = dynamic_cast<HVDownloadItem*>(item.get())) {
        // The next listing tells this one, without a run that tells the item's own.
        auto identity = own->Identity();
        identity.AddOwn(IdentityText(entry.told.extractor, entry.told.id));
        own->TakeIdentity(std::move(identity));
    }
    if (result->Succeed() && ReadString(entry.node, "_type") == "url_transparent")
        TakeWordsOfEntry(*item, entry.told);
    found.item = std::move(item);
    return result;
}

void HVFullAnalysis::Take(Entry const& entry, Found const& found, Result const& result) {
    if (task_.UserCancel())
        return;
    if (!result->Succeed()) {
        lastFailure_ = result;
        task_.KeepFailure(entry.Index(), entry.told.url, result, entry.told.level);
    } else if (found.list != nullptr) {
        TakeList(entry, found.list);
    } else {
        TakeItem(entry, found.item);
    }
    // The function of the application may have stopped the task.
    if (!task_.UserCancel())
        Report(entry, result);
}

void HVFullAnalysis::TakeItem(Entry const& entry, std::shared_ptr<IHVDownloadItem> const& item) {
    item->SetPlayList(entry.list, entry.Index());
    if (entry.list != top_)
        entry.list->AppendDownloadItem(item);
    top_->AppendDownloadItem(item);
    task_.notifyGetPlayItem(item);
}

void HVFullAnalysis::TakeList(Entry const& entry, HVJsonNode const& document) {
    // An entry that only names the list has the address; else the document has it.
    HVListDocument inner(document, entry.told.kind == HVListEntry::List ? std::string() : entry.told.url);
    auto const list = MakeList(document, inner.Address());
    list->SetEntryCount(inner.Total());
    entry.list->AppendList(list);
    bool const again = !inner.Address().empty() && opened_.contains(inner.Address());
    if (again || entry.told.level >= settings_.listDepth) {
        toldOfLists_ = true;
        if (!again && settings_.listDepth > 0)
            IHVLogConfig::Printf(IHVLogConfig::LogLevelWarning,
                                 "%s: this list is too deep in others to be gone into.",
                                 list->GetPlaylistURL().c_str());
        return;
    }
    opened_.insert(inner.Address());
    Enqueue(inner, list, entry.told.level + 1);
}

void HVFullAnalysis::Report(Entry const& entry, Result const& result) {
    if (!result->Succeed()) {
        IHVLogConfig::Printf("Entry %d of %s failed: %s", entry.told.number,
                             entry.list->GetPlaylistURL().c_str(), result->GetErrorMessage().c_str());
    }
    int const done = lanes_.Loaded();
    // A list that was gone into adds its entries; the percentage never falls all the same.
    percent_ = std::max(percent_, static_cast<float>(done * 100.0 / total_));
    task_.notifyTaskProgress("Loading " + std::to_string(done) + " of the playlist with " +
                                 std::to_string(total_) + " items",
                             percent_);
}

} // namespace Halvorn

// The analysis from what the tool prints for people: its tables, and the two lines behind them.

#include "HVArgsBuilder.h"
#include "HVDownloadFormat.h"
#include "HVDownloadTaskParser.h"
#include "HVFormatSet.h"
#include "HVModelList.h"
#include "HVToolAnswer.h"
#include "HVToolReport.h"
#include "IHVDownloadFormat.h"
#include "IHVDownloadItem.h"
#include "IHVDownloadThumbnail.h"
#include "IHVLogConfig.h"
#include "IHVPlayList.h"
#include "IHVStringHelper.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace Halvorn {

namespace {

constexpr char kFile[] = "HVDownloadTaskParser";

/// The rows of both tables, as the lines come: the latest head line says whose row a line is. A table has no
/// end mark, so what follows it is a row too until the reader of rows turns it down.
class TableRows {
public:
    /// `full` reads the rows as the tool really prints them.
    explicit TableRows(bool full) : full_(full) {}

    void Take(std::string const& line) {
        if (HVDownloadTask::IsSplitString(line))
            return;
        if (IHVDownloadThumbnail::IsThumbnailInfoToken(line)) {
            thumbnailHead_ = line;
            formatHead_.clear();
        } else if (IHVDownloadFormat::IsFormatAuxiliary(line)) {
            formatHead_ = line;
            thumbnailHead_.clear();
        } else {
            TakeRow(line);
        }
    }

    std::vector<std::shared_ptr<IHVDownloadFormat>> all;
    HVFormatSet videos;
    HVFormatSet audios;
    HVFormatSet others;
    std::vector<std::shared_ptr<IHVDownloadThumbnail>> thumbnails;

private:
    /// A row with a number that is none costs that row.
    void TakeRow(std::string const& line) {
        try {
            if (!formatHead_.empty())
                TakeFormat(full_ ? FromTable(line)
                                 : IHVDownloadFormat::MallocDownloadFormat(line, formatHead_));
            else if (!thumbnailHead_.empty())
                AppendElement(thumbnails,
                              IHVDownloadThumbnail::MallocDownloadThumbnail(line, thumbnailHead_));
        } catch (std::logic_error const& failure) {
            IHVLogConfig::Printf("A row of the tool's tables can't be read (%s): %s", failure.what(),
                                 line.c_str());
        }
    }
    std::shared_ptr<IHVDownloadFormat> FromTable(std::string const& line) const {
        auto format = std::make_shared<HVDownloadFormat>();
        return format->LoadFromTable(line, formatHead_) ? std::move(format) : nullptr;
    }
    void TakeFormat(std::shared_ptr<IHVDownloadFormat> format) {
        if (format == nullptr)
            return;
        all.push_back(format);
        auto& list = format->VideoOnly() ? videos : format->AudioOnly() ? audios : others;
        list.Add(std::move(format));
    }

    bool const full_;
    std::string thumbnailHead_;
    std::string formatHead_;
};

/// Far beyond the lists that sites really have: each item costs a run of the tool.
constexpr int kMostItems = 100'000;

/// The count in the tool's line about the first item of a list; 0 for any other line.
int CountOfLine(std::string_view line) {
    constexpr std::string_view kSpeaker = "[download] ";
    constexpr std::string_view kFirstItem = "Downloading item 1 of ";
    if (line.starts_with(kSpeaker))
        line.remove_prefix(kSpeaker.size());
    if (!line.starts_with(kFirstItem))
        return 0;
    line.remove_prefix(kFirstItem.size());
    int count = 0;
    char const* const lineEnd = line.data() + line.size();
    auto const [end, error] = std::from_chars(line.data(), lineEnd, count);
    return error == std::errc() && end == lineEnd && count > 0 && count <= kMostItems ? count : 0;
}

/// How many items the tool announces. Addresses and titles stand in its output too: a list's length comes
/// from a whole line of the tool's own, and of several the last one counts.
int AnnouncedItems(std::string const& output) {
    int count = 0;
    for (auto const& line : IHVStringHelper::Split(output, '\n'))
        if (int const announced = CountOfLine(IHVStringHelper::Trimmed(line)); announced != 0)
            count = announced;
    return count == 0 && output.find("Downloading 1 format(s)") != std::string::npos ? 1 : count;
}

/// The tool's name of the file, without the extension that goes with one of the formats.
std::string NameOfFile(std::string const& file,
                       std::vector<std::shared_ptr<IHVDownloadFormat>> const& formats) {
    auto const point = file.rfind('.');
    if (point == std::string::npos || point == 0)
        return file;
    std::string const extension = file.substr(point + 1);
    bool const known =
        extension == "mkv" || std::any_of(formats.begin(), formats.end(),
                                          [&](auto const& one) { return one->Extension() == extension; });
    return known ? file.substr(0, point) : file;
}

std::shared_ptr<IHVError const> UnknownError(std::string const& errorText) {
    return ToolFailure(__LINE__, "UsingPainTextOutput", errorText, "Unknown error, please try again later.");
}

} // namespace

void HVDownloadTaskParser::UsingPainTextOutput() {
    notifyTaskStarted("Parse started");
    CompleteFromTables();
}

void HVDownloadTaskParser::CompleteFromTables() {
    std::string output;
    std::string errorText;
    auto const search = SearchDownloadItems(output, errorText, false);
    if (search == nullptr || !search->Succeed()) {
        notifyTaskComplete(search);
        return;
    }
    int const count = AnnouncedItems(output);
    if (count == 0) {
        notifyTaskComplete(UnknownError(errorText));
        return;
    }
    auto const playList = count > 1 ? IHVPlayList::MallocPlayList(taskURL_) : nullptr;
    std::vector<std::shared_ptr<IHVDownloadItem>> items;
    Result lastResult = UnknownError({});
    HVEntryLanes lanes(settings_.lanes, [this] { return UserCancel(); });
    std::vector<HVEntryLanes::Entry> entries;
    for (int i = 0; i < count; ++i) {
        int const place = playList == nullptr ? -1 : i;
        auto const loaded = std::make_shared<std::vector<std::shared_ptr<IHVDownloadItem>>>();
        auto report = [=, this, &items, &lanes, &lastResult](Result const& result) {
            lastResult = result;
            items.insert(items.end(), loaded->begin(), loaded->end());
            if (!result->Succeed()) {
                if (place >= 0)
                    KeepFailure(place, {}, result);
                IHVLogConfig::Printf("Failed parse download item %d with url(%d items).", i + 1, count);
                IHVLogConfig::Printf("Error: %s.", result->GetErrorMessage().c_str());
            }
            int const done = lanes.Loaded();
            notifyTaskProgress("Loading item " + std::to_string(done) + " of " + std::to_string(count),
                               static_cast<float>(done * 100.0 / count));
        };
        entries.push_back(
            {taskURL_, [=, this] { return LoadDownloadItem(*loaded, place); }, std::move(report)});
    }
    lanes.AddInFront(std::move(entries));
    lanes.Run();
    if (UserCancel()) {
        items.clear();
        notifyTaskComplete(IHVError::MallocCancel(kFile, __LINE__, "UsingPainTextOutput"));
        return;
    }
    if (items.empty()) {
        notifyTaskComplete(lastResult);
        return;
    }
    if (playList != nullptr) {
        playList->AppendDownloadItems(items);
        notifyGetPlayList(playList);
    } else {
        notifyGetPlayItem(items.front());
    }
    notifyTaskComplete(IHVError::MallocSucceed(kFile, __LINE__, "UsingPainTextOutput"));
}

std::shared_ptr<IHVError const>
HVDownloadTaskParser::LoadDownloadItem(std::vector<std::shared_ptr<IHVDownloadItem>>& items, int index) {
    HVArgsBuilder builder(OptionsFor(taskURL_));
    builder.SetJsRuntimePath(GetJSRuntimePath());
    auto const args = index < 0 ? builder.BuildParsePlayItemArgs(taskURL_, false)
                                : builder.BuildParseListItemArgs(taskURL_, index, false);
    std::string output;
    std::string errorText;
    auto run = GetResultFromServer(output, errorText, args);
    if (run == nullptr || !run->Succeed())
        return run;
    if (!errorText.empty()) {
        IHVLogConfig::Printf("ERROR: %s.", errorText.c_str());
        if (auto fatal = ParseFatalError(errorText); !fatal->Succeed())
            return WithToolsFault(fatal, errorText);
    }
    IHVLogConfig::DebugPrintf("Error: %s", errorText.c_str());
    IHVLogConfig::DebugPrintf("Info: %s", output.c_str());
    auto const item = IHVDownloadItem::MallocDownloadItem(taskURL_);
    auto result = ParseDownloadItemInfo(output, item);
    if (result->Succeed()) {
        items.push_back(item);
        return result;
    }
    // What the tool said goes before what the reader found.
    if (errorText.empty())
        return ReasonOf(RememberedFault(errorText)).empty() ? result : WithToolsFault(result, errorText);
    return ToolFailure(__LINE__, "LoadDownloadItem", errorText, "");
}

std::shared_ptr<IHVError const>
HVDownloadTaskParser::ParseDownloadItemInfo(std::string const& output,
                                            std::shared_ptr<IHVDownloadItem> item) {
    auto lines = IHVStringHelper::Split(output, '\n');
    if (lines.size() < 4)
        return IHVError::MallocError(kFile, __LINE__, "ParseDownloadItemInfo", -1, "Error",
                                     "error text info: \n %s", output.c_str());
    for (auto& line : lines)
        line = IHVStringHelper::Trimmed(line);
    bool const hasDuration = IsDurationString(lines.back());
    // Without a line for the duration the name is the last one. Only a full analysis takes it so: the line
    // before it is a row of a table, but it was always taken.
    std::size_t const behindName = settings_.full && !hasDuration ? 1 : 2;
    std::size_t const behindTables = settings_.full ? behindName : 0;
    TableRows rows(settings_.full);
    for (std::size_t i = 0; i < lines.size() - behindTables; ++i)
        rows.Take(lines[i]);
    if (hasDuration)
        item->SetDuration(lines.back());
    std::string const& file = lines[lines.size() - behindName];
    item->SetFileName(settings_.full ? NameOfFile(file, rows.all) : file);
    item->SetThumbnail(FindBestThumbnail(rows.thumbnails));
    TakeAllFormats(*item, std::move(rows.all));
    item->AddDownloadFormat(MergeDownloadFormats(rows.videos.Formats(), rows.audios.Formats(),
                                                 rows.others.Formats(), item->IsLiveStream()));
    if (item->Valid())
        return IHVError::MallocSucceed(kFile, __LINE__, "ParseDownloadItemInfo");
    return IHVError::MallocError(kFile, __LINE__, "ParseDownloadItemInfo", -1, "Error",
                                 "No format available.");
}

} // namespace Halvorn

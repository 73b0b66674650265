#include "HVItemText.h"

#include "HVTableText.h"

#include <Reelhaul/HVDisplayText.h>

#include <array>
#include <cstdio>
#include <set>

namespace Halvorn {

namespace {

constexpr std::size_t kLabelWidth = 12;
constexpr std::size_t kDescriptionWidth = 300;

std::string Labelled(std::string const& label, std::string const& text) {
    return FitToWidth(label + ":", kLabelWidth) + PlainLine(text);
}

std::string DurationText(IHVDownloadItem const& item) {
    return IHVDownloadItem::KnownDurationSeconds(item) > 0 ? ClockText(item) : "unknown";
}

std::string ThumbnailText(IHVDownloadThumbnail const& thumbnail) {
    std::string text = thumbnail.GetWidth() > 0 ? std::to_string(thumbnail.GetWidth()) + "x" +
                                                      std::to_string(thumbnail.GetHeight())
                                                : "unknown size";
    return text + ", " + thumbnail.GetDownloadURL();
}

void AppendTable(std::vector<std::string>& lines, std::string const& title, HVTableText const& table) {
    lines.emplace_back();
    lines.push_back(title);
    for (std::string& line : table.Lines())
        lines.push_back(std::move(line));
}

/// "    3  00:01:05  Title  address".
std::string NumberedLine(int number, std::string const& duration, std::string const& title,
                         std::string const& url) {
    std::string const digits = std::to_string(number);
    constexpr std::size_t kNumberWidth = 5;
    std::string line(digits.size() < kNumberWidth ? kNumberWidth - digits.size() : 0, ' ');
    line += digits + "  " + FitToWidth(duration, 8) + "  " + PlainLine(title);
    if (!url.empty())
        line += "  " + PlainLine(url);
    return line;
}

HVTableText FormatTable() {
    // Mirrors, and one stream by two protocols, differ in the last two alone.
    return HVTableText({{"#", true},
                        {"Description"},
                        {"Container"},
                        {"Resolution"},
                        {"Size", true},
                        {"Code"},
                        {"Protocol"}});
}

void AddFormat(HVTableText& table, std::string const& number, IHVDownloadFormat const& format) {
    std::string const size = SizeText(format.Size());
    table.AddRow({number, format.Description(), format.Extension(), format.Resolution(),
                  size.empty() ? "unknown" : size, format.FormatCode(), format.Proto()});
}

HVTableText FormatTable(IHVDownloadItem const& item) {
    auto table = FormatTable();
    for (int const index : ShownFormats(item))
        AddFormat(table, std::to_string(index), *item.GetDownloadFormatAtIndex(index));
    return table;
}

HVTableText AllFormatsTable(IHVDownloadItem const& item) {
    auto table = FormatTable();
    auto const formats = item.AllFormats();
    for (auto format = formats.rbegin(); format != formats.rend(); ++format)
        AddFormat(table, "", **format);
    return table;
}

void AddSubtitle(HVTableText& table, IHVDownloadSubtitle const& subtitle) {
    std::string formats;
    for (std::string const& format : subtitle.GetSubtitleFormats())
        formats.append(formats.empty() ? "" : " ").append(format);
    table.AddRow({subtitle.GetLanguageCode(), subtitle.GetLanguageName(),
                  subtitle.MadeByPeople() ? "people" : "machine", formats});
}

HVTableText SubtitleTable(IHVDownloadItem const& item) {
    HVTableText table({{"Code"}, {"Language"}, {"Made by"}, {"Formats"}});
    for (int i = 0; i < item.GetAuthoredSubtitlesCount(); ++i)
        AddSubtitle(table, *item.GetAuthoredSubtitleAtIndex(i));
    for (int i = 0; i < item.GetDownloadSubtitlesCount(); ++i)
        AddSubtitle(table, *item.GetDownloadSubtitleAtIndex(i));
    return table;
}

} // namespace

std::string ClockText(IHVDownloadItem const& item) {
    return item.GetDurationSeconds() != 0 ? item.GetDurationString()
                                          : ClockText(IHVDownloadItem::KnownDurationSeconds(item));
}

std::vector<int> ShownFormats(IHVDownloadItem const& item) {
    std::set<IHVDownloadFormat const*> seen;
    std::vector<int> indices;
    for (int i = 0; i < item.GetDownloadFormatCount(); ++i)
        if (seen.insert(item.GetDownloadFormatAtIndex(i).get()).second)
            indices.push_back(i);
    return indices;
}

std::vector<std::string> ItemLines(IHVDownloadItem const& item, bool allFormats) {
    std::vector<std::string> lines{
        Labelled("Title", item.GetFileName()), Labelled("Address", item.DownloadURL()),
        Labelled("Duration", DurationText(item)), Labelled("Live", item.IsLiveStream() ? "yes" : "no")};
    auto const details = item.Details();
    if (!details->uploader.empty())
        lines.push_back(Labelled("Uploader", details->uploader));
    if (!details->uploadDate.empty())
        lines.push_back(Labelled("Date", details->uploadDate));
    if (!details->chapters.empty())
        lines.push_back(Labelled("Chapters", std::to_string(details->chapters.size())));
    if (auto const thumbnail = item.GetThumbnail())
        lines.push_back(Labelled("Thumbnail", ThumbnailText(*thumbnail)));
    AppendTable(lines, "Formats", FormatTable(item));
    if (allFormats)
        AppendTable(lines, "All formats, best first", AllFormatsTable(item));
    if (item.GetDownloadSubtitlesCount() > 0 || item.GetAuthoredSubtitlesCount() > 0)
        AppendTable(lines, "Subtitles", SubtitleTable(item));
    return lines;
}

std::vector<std::string> PlayListHeadLines(IHVPlayList const& playList) {
    std::vector<std::string> lines{Labelled("Playlist", playList.GetTitle()),
                                   Labelled("Address", playList.GetPlaylistURL())};
    if (!playList.GetID().empty())
        lines.push_back(Labelled("Id", playList.GetID()));
    if (!playList.GetDescription().empty())
        lines.push_back(CutToWidth(Labelled("About", playList.GetDescription()), kDescriptionWidth));
    lines.emplace_back();
    return lines;
}

std::string EntryLine(IHVDownloadItem const& item) {
    return NumberedLine(item.GetEntryIndexOfPlayList() + 1, DurationText(item), item.GetFileName(),
                        item.DownloadURL());
}

std::string EntryLine(HVListEntry const& entry) {
    std::string middle = entry.durationSeconds > 0 ? ClockText(entry.durationSeconds) : "unknown";
    if (entry.kind == HVListEntry::List)
        middle = "list";
    return NumberedLine(entry.number, middle, entry.title.empty() ? entry.id : entry.title, entry.url);
}

std::string ClockText(int seconds) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%02d:%02d:%02d", seconds / 3600, seconds % 3600 / 60,
                  seconds % 60);
    return text.data();
}

std::string SizeText(std::uint64_t bytes) {
    if (bytes == 0)
        return {};
    constexpr std::array kUnits{"B", "KiB", "MiB", "GiB", "TiB"};
    constexpr double kStep = 1024;
    auto size = static_cast<double>(bytes);
    std::size_t unit = 0;
    while (size >= kStep && unit + 1 < kUnits.size()) {
        size /= kStep;
        ++unit;
    }
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), unit == 0 ? "%.0f %s" : "%.1f %s", size, kUnits[unit]);
    return text.data();
}

} // namespace Halvorn

#pragma once
// Items and playlists as lines for people.

#include <Reelhaul/HVListEntry.h>
#include <Reelhaul/IHVDownloadItem.h>
#include <Reelhaul/IHVPlayList.h>

#include <cstdint>
#include <string>
#include <vector>

namespace Halvorn {

/// Everything about an item; with every format that the tool lists, if wanted.
std::vector<std::string> ItemLines(IHVDownloadItem const& item, bool allFormats);
/// The indices of the formats that are shown: one that stands in the block of several languages once.
std::vector<int> ShownFormats(IHVDownloadItem const& item);
/// The duration as "hh:mm:ss", whichever way it was analysed; "00:00:00" when unknown.
std::string ClockText(IHVDownloadItem const& item);
/// "hh:mm:ss".
std::string ClockText(int seconds);
/// What stands above the entries of a playlist.
std::vector<std::string> PlayListHeadLines(IHVPlayList const& playList);
/// One line for an entry, with its number in the playlist.
std::string EntryLine(IHVDownloadItem const& item);
/// The same for one that is not loaded; "list" in place of the duration of a list.
std::string EntryLine(HVListEntry const& entry);
/// "12.3 MiB"; empty for 0, which stands for unknown.
std::string SizeText(std::uint64_t bytes);

} // namespace Halvorn

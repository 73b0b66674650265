#pragma once
// The JSON that the command prints: documents of "info", event lines of "get". What the fields mean stands in
// docs/command.md.

#include <Reelhaul/HVListEntry.h>
#include <Reelhaul/IHVDownloadItem.h>
#include <Reelhaul/IHVDownloadTask.h>
#include <Reelhaul/IHVPlayList.h>

#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace Halvorn {

/// The document of an item, with every format that the tool lists, if wanted; of an entry without an address
/// of its own the address is empty.
std::string ItemDocument(IHVDownloadItem const& item, bool allFormats);
std::string PlayListDocument(IHVPlayList const& playList,
                             std::vector<IHVDownloadTask::FailedEntry> const& failed, bool allFormats);
/// One line for an entry of a list that is not loaded.
std::string EntryDocument(HVListEntry const& entry);

/// One line: {"event": name, ...fields}.
using HVJsonField = std::pair<char const*, std::variant<std::string, int, std::int64_t, double, bool,
                                                        std::uint64_t, std::vector<std::string>>>;
std::string EventLine(char const* name, std::vector<HVJsonField> const& fields);

} // namespace Halvorn

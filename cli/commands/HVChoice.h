#pragma once
// What the user wants of an item: its format, its subtitle, and which items of a playlist.

#include <Reelhaul/IHVDownloadItem.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Halvorn {

struct HVRequest;

/// Chooses the format that the request names: "best", "worst", "audio", "720p" or "1080p60" for the best
/// within these limits, an index, or a format code. A number is an index where the item has so many formats,
/// else a code; "code:" in front makes it a code in any case. Returns the fault, which tells what there is;
/// empty when there is none.
std::string ChooseFormat(IHVDownloadItem& item, HVRequest const& request);

/// What "best", "worst", "audio", "720p" and "1080p60" mean, in the language and with the preference of the
/// request; nothing for another word.
std::optional<HVFormatWish> WishOf(std::string_view format, HVRequest const& request);

/// Chooses the subtitles that the request names, "LANG[.EXT],...", of the kind that it names; where both
/// kinds have a language, the people's. Returns the fault; empty when there is none.
std::string ChooseSubtitles(IHVDownloadItem& item, HVRequest const& request);

/// Seconds of "90", "1:30" or "1:30:00"; nothing for another text.
std::optional<int> SecondsOf(std::string_view text);

/// Items of a playlist, counted from 1: "1,3-5"; "7-" goes to the end. With a colon as in the tool's own
/// lists a number may count from the end: "-10:" means the last ten.
class HVItemRanges {
public:
    /// Empty when the text is no such list. An empty text means all items.
    static std::optional<HVItemRanges> Parse(std::string_view text);

    /// `count` is how many items the playlist has, 0 when that is not known.
    bool Contains(int item, int count) const;
    /// The first item named that a playlist of so many items does not have; 0 when it has all.
    int FirstBeyond(int count) const;
    /// First and last numbers, negative ones from the end; a last one of 0 means the end. Empty for all.
    std::vector<std::pair<int, int>> const& Ranges() const { return ranges_; }

private:
    std::vector<std::pair<int, int>> ranges_;
};

/// The number that the whole text is, when it is one of digits alone that fits.
std::optional<int> WholeNumber(std::string_view text);

} // namespace Halvorn

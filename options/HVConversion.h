#pragma once
// What a download is to be converted to, as plain values; what of it can't go together; and the tool's
// arguments for it. Pure, no thread of its own.

#include "IHVConversionOptions.h"

#include <string>
#include <vector>

namespace Halvorn {

class IHVDownloadItem;
class IHVDownloadOptions;

struct HVConversion {
    std::string audio;
    std::string container;
    std::string subtitleFormat;
    std::string sponsorsRemoved;
    std::string sponsorsMarked;
    std::string sponsorService;
    std::vector<HVSection> sections;
    int audioQuality = IHVConversionOptions::HVDefaultAudioQuality;
    bool thumbnail = false;
    bool metadata = false;
    bool chapters = false;
    bool subtitles = false;
    bool keepSubtitles = false;
    bool splitChapters = false;
    bool exactCuts = false;

    /// Nothing is asked for.
    bool Empty() const;
    /// Files that the download makes, as far as that is known before.
    std::size_t Files() const { return sections.empty() ? 1 : sections.size(); }
    /// ffprobe has to look at the file.
    bool NeedsProbe() const { return thumbnail || !sponsorsRemoved.empty() || !sponsorsMarked.empty(); }
    /// Whether subtitle files stand beside the file.
    bool SubtitlesBeside() const { return !subtitles || keepSubtitles; }
};

/// What the bundle asks for; nothing for an empty one, and for a record of another implementation.
HVConversion ConversionOf(IHVDownloadOptions const* options);

/// Why the values can't go together, and what to do; empty where they can.
std::string ConversionFault(HVConversion const& values);
/// Why the item can't be converted so, as it is chosen now; empty where it can.
std::string ConversionFault(HVConversion const& values, IHVDownloadItem const& item);

/// The extension that the item's file comes to, as far as that is known before: "best" goes by the codec.
std::string ConvertedExtension(HVConversion const& values, IHVDownloadItem const& item);
/// The file to which a converting run of the tool appends what it has made: for the path of its `--output`.
std::string MadeFilesPath(std::string const& output);
/// Arguments of the conversion, and those that name the files: `output` in place of "--output".
std::vector<std::string> ConversionArguments(HVConversion const& values, IHVDownloadItem const& item,
                                             std::string const& output);

} // namespace Halvorn

#include "HVConversion.h"
#include "HVToolInForce.h"
#include "HVToolWords.h"
#include "IHVDownloadItem.h"
#include "IHVFileProvider.h"

#include <cmath>

namespace Halvorn {

namespace {

using Args = std::vector<std::string>;

void Append(Args& args, char const* option, std::string const& value) {
    if (!value.empty())
        args.insert(args.end(), {option, value});
}

void AppendIf(Args& args, bool wanted, char const* option) {
    if (wanted)
        args.emplace_back(option);
}

/// With a point in every locale.
std::string Seconds(double seconds) {
    constexpr long kThousandths = 1000;
    long const whole = std::lround(seconds * kThousandths);
    std::string const behind = std::to_string(kThousandths + whole % kThousandths).substr(1);
    return std::to_string(whole / kThousandths) + (whole % kThousandths == 0 ? "" : "." + behind);
}

bool HasSubtitles(IHVDownloadItem const& item) {
    auto const current = item.CurrentDownloadSubtitle();
    return !item.ChosenSubtitles().empty() ||
           (current != nullptr && !current->GetCurrentSubtitleFormat().empty());
}

} // namespace

std::string MadeFilesPath(std::string const& output) {
    return IHVFileProvider::AppendPathExtension(IHVFileProvider::RemovePathExtension(output), "files");
}

std::vector<std::string> ConversionArguments(HVConversion const& values, IHVDownloadItem const& item,
                                             std::string const& output) {
    Args args;
    auto const format = item.GetCurrentDownloadFormat();
    // A merge has named it already.
    if (format == nullptr || !format->MergeFormat() || !values.audio.empty())
        Append(args, "--ffmpeg-location", MergerInForce());
    AppendIf(args, !values.audio.empty(), "--extract-audio");
    Append(args, "--audio-format", values.audio);
    if (values.audioQuality != IHVConversionOptions::HVDefaultAudioQuality)
        Append(args, "--audio-quality",
               std::to_string(values.audioQuality) + (values.audioQuality > 10 ? "K" : ""));
    Append(args, "--remux-video", values.container);
    Append(args, "--convert-subs", values.subtitleFormat);
    // Without a chosen one the tool would take one of its own choice.
    AppendIf(args, values.subtitles && HasSubtitles(item), "--embed-subs");
    Append(args, "--sponsorblock-remove", values.sponsorsRemoved);
    Append(args, "--sponsorblock-mark", values.sponsorsMarked);
    Append(args, "--sponsorblock-api", values.sponsorService);
    AppendIf(args, values.metadata, "--embed-metadata");
    AppendIf(args, values.metadata, "--no-embed-info-json");
    AppendIf(args, values.chapters, "--embed-chapters");
    // They come with the metadata unasked, and would be those of the whole.
    AppendIf(args, values.metadata && !values.sections.empty(), "--no-embed-chapters");
    AppendIf(args, values.thumbnail, "--embed-thumbnail");
    for (HVSection const& section : values.sections)
        Append(args, "--download-sections",
               "*" + Seconds(section.begin) + "-" + (section.end == 0 ? "inf" : Seconds(section.end)));
    AppendIf(args, values.splitChapters, "--split-chapters");
    AppendIf(args, values.exactCuts, "--force-keyframes-at-cuts");
    std::string const stem = IHVFileProvider::RemovePathExtension(output);
    if (values.splitChapters)
        Append(args, "--output", "chapter:" + stem + " - %(section_number)03d.%(ext)s");
    // The tool tells of each file once that is whole, under the name that it then has.
    args.insert(args.end(),
                {"--print-to-file", "after_move:%(.{filepath,chapters})j", MadeFilesPath(output)});
    Append(args, "--output",
           stem + (values.sections.empty() ? "" : " %(section_start)s-%(section_end)s") + ".%(ext)s");
    return args;
}

} // namespace Halvorn

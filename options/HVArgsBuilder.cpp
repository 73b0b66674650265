#include "HVArgsBuilder.h"

#include "HVConversion.h"
#include "HVToolInForce.h"
#include "HVToolWords.h"
#include "IHVDownloadFormat.h"
#include "IHVDownloadItem.h"
#include "IHVDownloadOptions.h"
#include "IHVDownloadSubtitle.h"
#include "IHVLogConfig.h"

#include <initializer_list>
#include <utility>

namespace Halvorn {

namespace {

using Args = std::vector<std::string>;

void Append(Args& args, std::initializer_list<std::string> more) {
    args.insert(args.end(), more);
}

void Append(Args& args, Args const& more) {
    args.insert(args.end(), more.begin(), more.end());
}

/// Ends every command. An address is a stranger's text and must not be read as an option.
void AppendAddress(Args& args, std::string const& url) {
    if (!url.empty() && url.front() == '-')
        args.emplace_back("--");
    args.push_back(url);
}

/// The tool counts entries from 1. Widened first, since an application may pass any int.
std::string EntryNumber(int index) {
    return std::to_string(static_cast<long long>(index) + 1);
}

void LogError(char const* text) {
    IHVLogConfig::Printf(IHVLogConfig::LogLevelError, text);
}

using Subtitles = std::vector<std::shared_ptr<IHVDownloadSubtitle>>;

/// Appends `more` to a list of the tool's unless it holds it.
void AppendToList(std::string& list, char separator, std::string const& more) {
    std::string const parts = separator + list + separator;
    if (parts.find(separator + more + separator) == std::string::npos)
        list += (list.empty() ? std::string() : std::string(1, separator)) + more;
}

/// The tool takes one wish for all languages: of their formats the first that is on offer.
void AppendSubtitles(Args& args, Subtitles const& subtitles) {
    bool people = false;
    bool machine = false;
    std::string languages;
    std::string formats;
    for (auto const& subtitle : subtitles) {
        (subtitle->MadeByPeople() ? people : machine) = true;
        AppendToList(languages, ',', ExactLanguage(subtitle->GetLanguageCode()));
        if (auto const format = subtitle->GetCurrentSubtitleFormat(); !format.empty())
            AppendToList(formats, '/', format);
    }
    if (people)
        args.emplace_back("--write-sub");
    if (machine)
        args.emplace_back("--write-auto-sub");
    Append(args, {"--sub-lang", languages});
    if (!formats.empty())
        Append(args, {"--sub-format", formats});
}

void AppendSubtitle(Args& args, IHVDownloadItem const& item) {
    if (auto const chosen = item.ChosenSubtitles(); !chosen.empty()) {
        AppendSubtitles(args, chosen);
        return;
    }
    auto const subtitle = item.CurrentDownloadSubtitle();
    if (!subtitle || subtitle->GetCurrentSubtitleFormat().empty())
        return;
    Append(args, {"--write-auto-sub", "--sub-lang", ExactLanguage(subtitle->GetLanguageCode()),
                  "--sub-format", subtitle->GetCurrentSubtitleFormat(), "--sleep-interval", "10"});
}

void AppendFormat(Args& args, IHVDownloadFormat const& format) {
    Append(args, {"--format", ExactFormat(format)});
    if (format.MergeFormat())
        Append(args, {"--merge-output-format", format.GetFormatName(), "--ffmpeg-location",
                      HVArgsBuilder::GetMergeCommandExe()});
    if (auto const postProcessing = format.PostProcessingOpts(); !postProcessing.empty())
        Append(args, {"--postprocessor-args", postProcessing});
}

/// The same for a file that is converted after that.
void AppendConvertedFormat(Args& args, IHVDownloadFormat const& format, HVConversion const& conversion) {
    if (!format.MergeFormat()) {
        AppendFormat(args, format);
        return;
    }
    if (!conversion.audio.empty()) {
        Append(args, {"--format", ExactSound(format)});
        return;
    }
    // At once into the container that it ends in: mkv takes everything as it is.
    std::string const& container = conversion.container;
    Append(args, {"--format", ExactFormat(format), "--merge-output-format",
                  container.empty() ? format.GetFormatName() : container, "--ffmpeg-location",
                  HVArgsBuilder::GetMergeCommandExe()});
    // Options for every run of ffmpeg are to count for the merge alone.
    std::string postProcessing = container == "mkv" ? std::string() : format.PostProcessingOpts();
    constexpr std::string_view kEvery = "ffmpeg:";
    if (postProcessing.starts_with(kEvery))
        postProcessing.replace(0, kEvery.size(), "Merger:");
    if (!postProcessing.empty())
        Append(args, {"--postprocessor-args", postProcessing});
}

} // namespace

HVArgsBuilder::HVArgsBuilder(std::shared_ptr<IHVDownloadOptions> options) : options_(std::move(options)) {}

std::string HVArgsBuilder::GetDownloadCommadExe() {
    return ToolInForce();
}

std::string HVArgsBuilder::GetMergeCommandExe() {
    return MergerInForce();
}

void HVArgsBuilder::SetJsRuntimePath(std::string const& path) {
    jsRuntimePath_ = path;
}

void HVArgsBuilder::SetDownloadOpitons(std::shared_ptr<IHVDownloadOptions> options) {
    options_ = std::move(options);
}

bool HVArgsBuilder::IsYoutube(std::string const& url) const {
    return url.find("https://www.youtube.com") != std::string::npos;
}

void HVArgsBuilder::AppendLiveAndRuntime(Args& args, std::string const& url) const {
    args.emplace_back(IsYoutube(url) ? "--live-from-start" : "--no-live-from-start");
    if (!jsRuntimePath_.empty())
        Append(args, {"--js-runtimes", "deno:" + jsRuntimePath_});
}

Args HVArgsBuilder::BuildSearchItemsArgs(std::string const& url, bool useJson) const {
    if (url.empty()) {
        LogError("Download url is not empty.\n");
        return {};
    }
    Args args = BuildConfigurationArgs();
    AppendLiveAndRuntime(args, url);
    Append(args, {"--ffmpeg-location", GetMergeCommandExe(), "--yes-playlist", "--flat-playlist",
                  "--skip-download", "--sleep-interval", "10"});
    if (useJson)
        args.emplace_back("-J");
    // Options before cookies here, cookies before options in the two analysis commands.
    Append(args, BuildOptionsArgs());
    Append(args, BuildCookiesptions());
    AppendAddress(args, url);
    return args;
}

void HVArgsBuilder::AppendParseArgs(Args& args, std::string const& url, bool useJson) const {
    if (useJson)
        args.emplace_back("-J");
    else
        Append(args, {"--list-thumbnails", "--list-formats", "--get-filename", "--get-duration",
                      "--skip-download"});
    AppendLiveAndRuntime(args, url);
    Append(args, BuildCookiesptions());
    Append(args, BuildOptionsArgs());
    AppendAddress(args, url);
}

Args HVArgsBuilder::BuildParsePlayItemArgs(std::string const& url, bool useJson) const {
    Args args = BuildConfigurationArgs();
    AppendParseArgs(args, url, useJson);
    return args;
}

Args HVArgsBuilder::BuildParseListItemArgs(std::string const& url, int index, bool useJson) const {
    Args args = BuildConfigurationArgs();
    Append(args, {"--playlist-items", EntryNumber(index)});
    AppendParseArgs(args, url, useJson);
    return args;
}

Args HVArgsBuilder::BuildDownloadItemArgs(IHVDownloadItem const* item, std::string const& output) const {
    if (!item)
        return {};
    std::string const& url = item->DownloadURL();
    Args args = BuildConfigurationArgs();
    AppendSubtitle(args, *item);
    AppendLiveAndRuntime(args, url);
    auto const format = item->GetCurrentDownloadFormat();
    if (!format) {
        LogError("No download format settings.\n");
        return args;
    }
    HVConversion const conversion = ConversionOf(options_.get());
    if (conversion.Empty())
        AppendFormat(args, *format);
    else
        AppendConvertedFormat(args, *format, conversion);
    Append(args, BuildOptionsArgs());
    Append(args, BuildCookiesptions());
    Append(args, BuildGeneralOptions());
    if (conversion.Empty())
        Append(args, {"--output", output});
    else
        Append(args, ConversionArguments(conversion, *item, output));
    if (!url.empty()) {
        AppendAddress(args, url);
        return args;
    }
    auto const playlistURL = item->GetPlaylistURL();
    if (playlistURL.empty()) {
        LogError("Download url is not set.\n");
        return {};
    }
    // An entry without an address of its own is fetched through its playlist.
    args.insert(args.begin(), {"--playlist-items", EntryNumber(item->GetEntryIndexOfPlayList())});
    AppendAddress(args, playlistURL);
    return args;
}

Args HVArgsBuilder::BuildDownloadLiveArgs(IHVDownloadItem const* item, std::string const& output) const {
    if (!item || !item->IsLiveStream())
        return {};
    std::string const& url = item->DownloadURL();
    Args args = BuildConfigurationArgs();
    AppendLiveAndRuntime(args, url);
    Append(args, {"-o", output});
    if (url.empty()) {
        LogError("Download url is not set.\n");
        return {};
    }
    AppendAddress(args, url);
    return args;
}

Args HVArgsBuilder::BuildDownloadThumbArgs(std::string const& url, std::string const& output) const {
    Args args = BuildConfigurationArgs();
    Append(args, BuildOptionsArgs());
    Append(args, BuildGeneralOptions());
    AppendLiveAndRuntime(args, url);
    Append(args, BuildCookiesptions());
    Append(args, {"--output", output});
    AppendAddress(args, url);
    return args;
}

} // namespace Halvorn

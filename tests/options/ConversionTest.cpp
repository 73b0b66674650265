// What a conversion refuses, and what the tool is told of one.

#include "HVDownloadSubtitle.h"
#include "Reelhaul.h"
#include "model/Samples.h"

#include <limits>
#include <map>

namespace Halvorn {
namespace {

using Options = IHVConversionOptions;

/// Sets, one by one, such as "audio=mp3 quality=5 thumbnail"; the last outcome.
std::shared_ptr<IHVError const> Apply(Options& o, std::string const& settings) {
    std::shared_ptr<IHVError const> outcome;
    std::istringstream words(settings);
    for (std::string word; words >> word;) {
        EXPECT_TRUE(outcome == nullptr || outcome->Succeed()) << settings;
        std::string const name = word.substr(0, word.find('='));
        std::string const value = word.find('=') == std::string::npos ? "" : word.substr(name.size() + 1);
        std::map<std::string, std::function<std::shared_ptr<IHVError const>()>> const setters{
            {"audio", [&] { return o.SetAudio(value, Options::HVDefaultAudioQuality); }},
            {"quality", [&] { return o.SetAudio(o.GetAudio(), std::stoi(value)); }},
            {"container", [&] { return o.SetContainer(value); }},
            {"thumbnail", [&] { return o.SetEmbedThumbnail(true); }},
            {"metadata", [&] { return o.SetEmbedMetadata(true); }},
            {"chapters", [&] { return o.SetEmbedChapters(true); }},
            {"subtitles", [&] { return o.SetEmbedSubtitles(true, false); }},
            {"convert", [&] { return o.SetSubtitleFormat(value); }},
            {"part",
             [&] {
                 return o.SetSections({{1, 2}});
             }},
            {"twice",
             [&] {
                 return o.SetSections({{1, 2}, {1, 2.0001}});
             }},
            {"back",
             [&] {
                 return o.SetSections({{3, 2}});
             }},
            {"nan",
             [&] {
                 return o.SetSections({{std::numeric_limits<double>::quiet_NaN(), 2}});
             }},
            {"parts",
             [&] {
                 return o.SetSections({{0, 90.5}, {1.0625, 0}});
             }},
            {"split", [&] { return o.SetSplitChapters(true); }},
            {"exact", [&] { return o.SetExactCuts(true); }},
            {"remove", [&] { return o.SetSponsorsRemoved(value); }},
            {"mark", [&] { return o.SetSponsorsMarked(value); }},
            {"service", [&] { return o.SetSponsorService(value); }}};
        outcome = setters.at(name)();
    }
    return outcome;
}

std::shared_ptr<IHVDownloadItem> ItemOf(std::shared_ptr<IHVDownloadFormat> const& format,
                                        std::string const& subtitle) {
    auto item = IHVDownloadItem::MallocDownloadItem("h");
    item->AddDownloadFormat(format);
    auto const chosen = std::make_shared<HVDownloadSubtitle>();
    chosen->LoadFromJsonObject("fr", std::make_shared<HVJsonObjectSubtitle>(nullptr));
    chosen->SetCurrentSubtitleFormat(subtitle);
    if (!subtitle.empty())
        item->SetChosenSubtitles({chosen});
    return item;
}

/// Arguments from the format on, by the record and by a copy of its bundle.
std::string Told(std::shared_ptr<Options> const& record, std::shared_ptr<IHVDownloadItem> const& item) {
    IHVDownloadPlugin::UseLocalPluginForThisProcess(true);
    IHVDownloadPlugin::SharedDownloadPlugin()->SetLocalPluginInstallPath("/");
    auto const bundle = IHVDownloadOptions::MallocDownloadOptions();
    bundle->SetConversionOptions(record);
    auto const args = HVArgsBuilder(bundle).BuildDownloadItemArgs(item.get(), "/t.d/o.mp4");
    EXPECT_EQ(args, HVArgsBuilder(bundle->Clone()).BuildDownloadItemArgs(item.get(), "/t.d/o.mp4"));
    IHVDownloadPlugin::SharedDownloadPlugin()->SetLocalPluginInstallPath({});
    std::string line;
    for (auto const& arg : args)
        line += arg + " ";
    return line.substr(line.find("--format"));
}

TEST(Conversion, RefusesWhatCanNotGoTogetherAndChangesNothing) {
    Rows const rows{{"audio=ogg", "no sound \"ogg\""},
                    {"audio=flac quality=5", "flac has no quality"},
                    {"quality=5", "counts only beside a sound"},
                    {"audio=opus quality=5", "opus takes kbit/s"},
                    {"audio=mp3 quality=321", "kbit/s up to 320"},
                    {"audio=mp3 quality=-2", "not -2"},
                    {"container=avi", "no container \"avi\""},
                    {"audio=mp3 container=mkv", "leave either it or the container out"},
                    {"thumbnail audio=wav", "wav holds no cover"},
                    {"audio=flac chapters", "flac holds no chapters"},
                    {"subtitles audio=m4a", "sound alone holds no subtitles"},
                    {"convert=json3", "there are srt, vtt and ass"},
                    {"container=mp4 convert=ass subtitles", "mp4 holds no ass"},
                    {"nan", "seconds from 0"},
                    {"back", "ends before it begins"},
                    {"twice", "named twice"},
                    {"part split", "choose one of the two"},
                    {"part chapters", "chapters are those of the whole"},
                    {"part subtitles", "subtitles are not cut"},
                    {"remove=all,-intro part", "known for the whole alone"},
                    {"mark=sponsor,", "no category \"\""},
                    {"remove=chapter", "can only be marked"},
                    {"service=localhost", "begins with https://"}};
    auto const item = ItemOf(Video("mp4"), "");
    for (auto const& [settings, words] : rows) {
        auto const record = Options::MallocConversionOptions();
        auto const last = settings.rfind(' ') + 1;
        Apply(*record, settings.substr(0, last));
        std::string const before = Told(record, item);
        auto const refused = Apply(*record, settings.substr(last));
        EXPECT_NE(refused->GetErrorMessage().find(words), std::string::npos) << refused->GetErrorMessage();
        EXPECT_EQ(Told(record, item), before);
    }
}

TEST(Conversion, RefusesAnItemThatCanNotBeConvertedSo) {
    struct {
        std::shared_ptr<IHVDownloadFormat> format;
        char const* subtitle;
        char const* settings;
        char const* words;
    } const rows[] = {
        {Video("webm"), "vtt", "subtitles", "succeed"},
        {Video("webm"), "srt", "subtitles convert=vtt", "succeed"},
        {Video("webm"), "srt", "subtitles", "webm holds vtt subtitles alone"},
        {Video("mp4"), "ass", "subtitles", "mp4 holds no ass"},
        {Video("mp4"), "ass", "subtitles container=mkv", "succeed"},
        {Video("mkv"), "json3", "convert=srt", "choose vtt or srt"},
        {Video("flv"), "srt", "subtitles", "flv holds no subtitles"},
        {Video("mp4"), "srt", "part", "subtitles are not cut"},
        {Audio("m4a"), "srt", "subtitles", "sound alone holds no subtitles"},
        {Video("mp4"), "", "audio=mp3", "the format has no sound"},
    };
    for (auto const& row : rows) {
        auto const record = Options::MallocConversionOptions();
        Apply(*record, row.settings);
        auto const outcome = record->Check(*ItemOf(row.format, row.subtitle));
        EXPECT_NE(outcome->GetErrorMessage().find(row.words), std::string::npos)
            << outcome->GetErrorMessage();
    }
}

TEST(Conversion, IsToldToTheTool) {
    std::string const plain = "--format x --no-check-certificates ";
    std::string const ffmpeg = "--ffmpeg-location /ffmpeg ";
    std::string const files =
        "--print-to-file after_move:%(.{filepath,chapters})j /t.d/o.files --output /t.d/o";
    std::string const end = files + ".%(ext)s h ";
    auto const joined = IHVDownloadFormat::MergeDownloadFormat(Video("mp4"), Audio("mp3"), false);
    struct {
        std::shared_ptr<IHVDownloadFormat> format;
        char const* subtitle;
        char const* settings;
        std::string told;
    } const rows[] = {
        {Video("mp4"), "", "exact", plain + "--output /t.d/o.mp4 h "},
        {Video("mp4"), "", "audio=mp3 quality=192",
         plain + ffmpeg + "--extract-audio --audio-format mp3 --audio-quality 192K " + end},
        // Of two parts the sound alone is fetched.
        {joined, "", "audio=best", plain + ffmpeg + "--extract-audio --audio-format best " + end},
        // What is transcoded for a merge is not transcoded once more after it, and not at all for mkv.
        {joined, "", "metadata",
         "--format x+x --merge-output-format mp4 " + ffmpeg +
             "--postprocessor-args Merger:-c:a aac -strict -2 --no-check-certificates --embed-metadata "
             "--no-embed-info-json " +
             end},
        {joined, "", "container=mkv",
         "--format x+x --merge-output-format mkv " + ffmpeg + "--no-check-certificates --remux-video mkv " +
             end},
        // Where none is chosen, none of the tool's choice comes.
        {Video("mp4"), "", "subtitles", plain + ffmpeg + end},
        {Video("mp4"), "vtt", "subtitles", plain + ffmpeg + "--embed-subs " + end},
        {Video("mp4"), "", "parts metadata exact",
         plain + ffmpeg +
             "--embed-metadata --no-embed-info-json --no-embed-chapters --download-sections *0-90.500 "
             "--download-sections *1.063-inf --force-keyframes-at-cuts " +
             files + " %(section_start)s-%(section_end)s.%(ext)s h "},
        {Video("mp4"), "", "split remove=sponsor mark=all service=http://s thumbnail chapters convert=srt",
         plain + ffmpeg +
             "--convert-subs srt --sponsorblock-remove sponsor --sponsorblock-mark all --sponsorblock-api "
             "http://s --embed-chapters --embed-thumbnail --split-chapters --output chapter:/t.d/o - "
             "%(section_number)03d.%(ext)s " +
             end},
    };
    for (auto const& row : rows) {
        auto const record = Options::MallocConversionOptions();
        EXPECT_TRUE(Apply(*record, row.settings)->Succeed());
        EXPECT_EQ(Told(record, ItemOf(row.format, row.subtitle)), row.told);
    }
}

} // namespace
} // namespace Halvorn

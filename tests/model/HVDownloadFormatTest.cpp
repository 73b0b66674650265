#include "HVMergeDownloadFormat.h"
#include "HVStableSort.h"
#include "Samples.h"

namespace Halvorn {
namespace {

TEST(Format, LoadsEveryValueOfItsRow) {
    auto const format = Format(R"("format_id": "137", "ext": "mp4", "vcodec": "vc.x.y", "acodec": ".ac",
        "resolution": "1920x1080", "fps": 29.97, "audio_channels": 2, "tbr": 1234.56, "protocol": "https",
        "vbr": 1000, "abr": 128, "asr": 44100, "dynamic_range": "SDR", "format": "137 - big", "container": "dash",
        "filesize": 1536, "language": "en")");
    std::string const expected =
        "137|mp4|1920x1080|1920|1080|29.97|2|SDR|https|1234.6K|1000.0K|128.0K|44.099998KHz|1536|"
        "1.50KB|vc.x.y|vc|.ac|.ac|en|137 - big dash|0|0|0";
    EXPECT_EQ(All(*format), expected);
    auto const copy = format->Clone();
    EXPECT_EQ(All(*copy), expected);
    copy->SetEstSize(1048576);
    EXPECT_EQ(Text(copy->Size(), copy->SizeFormat()), "1048576|1.00MB");
    EXPECT_EQ(All(*format), expected);
    // A sound in a picture's container gets the name of one.
    EXPECT_EQ(Text(Audio("mp4")->Extension(), Audio("webm")->Extension(), Video("mp4")->Extension()),
              "m4a|webm|mp4");
}

TEST(Format, RefusesRowsThatAreNotOffered) {
    HVDownloadFormat format;
    EXPECT_FALSE(format.LoadFromJsonObject(std::make_shared<HVJsonObjectFormat>(nullptr)));
    for (char const* members : {R"("ext": "mp4", "resolution": "1x1")", R"("format_id": "s", "ext": "mhtml")",
                                R"("format_id": "s", "vcodec": "some images")"})
        EXPECT_FALSE(format.LoadFromJsonObject(FormatJson(members))) << members;
    // An odd resolution is no reason.
    EXPECT_TRUE(format.LoadFromJsonObject(FormatJson(R"("format_id": "s", "resolution": "1280x?")")));
    EXPECT_EQ(Text(format.Width(), format.Height()), "1280|0");
}

TEST(FormatRanking, FollowsItsRulesAsymmetriesIncluded) {
    auto sized = [](int width, int height, int size) {
        return Format("\"width\": " + std::to_string(width) + ", \"height\": " + std::to_string(height) +
                      ", \"filesize\": " + std::to_string(size));
    };
    auto sound = [](int size) { return Audio("m4a", ", \"filesize\": " + std::to_string(size)); };
    struct Row {
        std::shared_ptr<IHVDownloadFormat> a;
        std::shared_ptr<IHVDownloadFormat> b;
        int expected;
    };
    for (Row const& row : {
             Row{sound(2), sound(1), 1},
             Row{sized(1920, 720, 1), sized(1280, 1080, 9), 1},
             Row{sized(1920, 720, 9), sized(1920, 1080, 1), -1},
             Row{sized(1920, 1080, 2), sized(1920, 1080, 1), 1},
             Row{sound(99), sized(0, 0, 1), 0},
             Row{sound(1), sized(0, 0, 2), -1},
             Row{nullptr, sized(1, 1, 1), 0},
         }) {
        EXPECT_EQ(IHVDownloadFormat::CompareDownloadFormat(row.a, row.b), row.expected);
        EXPECT_EQ(IHVDownloadFormat::CompareDownloadFormat(row.b, row.a), -row.expected);
    }
}

TEST(FormatEquality, LeavesOutIdentifierProtocolAndLanguage) {
    std::string const base = R"("ext": "mp4", "fps": 30.0, "resolution": "2x2", "format": "f")";
    auto const format = Format(base);
    EXPECT_TRUE(*format == Format(base + R"(, "format_id": "y", "protocol": "p", "language": "en")"));
    for (char const* const other :
         {R"("audio_channels": 1)", R"("tbr": 1)", R"("vbr": 1)", R"("abr": 1)", R"("asr": 1)",
          R"("vcodec": "v")", R"("acodec": "a")", R"("dynamic_range": "d")", R"("container": "c")",
          R"("filesize": 1)", R"("width": 1)", R"("height": 1)", R"("ext": "mkv")", R"("fps": 29.97)",
          R"("resolution": "2x02")"}) {
        // The first of two members with the same name counts.
        EXPECT_FALSE(*format == Format(std::string(other) + ", " + base)) << other;
    }
}

TEST(FormatMerging, GoesByTheContainersAlone) {
    std::string const allowed =
        " mp4+mp3 mp4+m4a webm+mp3 webm+m4a webm+weba webm+webm mkv+mka mkv+mp3 mkv+m4a ";
    char const* const extensions[] = {"mp4", "mp3", "m4a", "mkv", "mka", "webm", "weba", "MP4"};
    for (std::string const video : extensions) {
        for (std::string const audio : extensions) {
            auto const a = Video(video);
            auto const b = Audio(audio);
            bool const expected = allowed.find(" " + video + "+" + b->Extension() + " ") != std::string::npos;
            EXPECT_EQ(IHVDownloadFormat::CanMergeDownloadFormat(a, b), expected) << video << audio;
            EXPECT_EQ(IHVDownloadFormat::CanMergeDownloadFormat(b, a), expected) << video << audio;
        }
    }
    auto const weba = Audio("weba");
    EXPECT_EQ(Text(weba->IsWebA(), weba->IsWebM(), weba->GetFormatName()), "1|0|webm");
    for (auto const& other : {Video("mp4"), Format(R"("ext": "mp4")"), std::shared_ptr<IHVDownloadFormat>()})
        EXPECT_FALSE(IHVDownloadFormat::CanMergeDownloadFormat(Video("mp4"), other));
}

TEST(MergedFormat, TellsWhatTheJoinNeeds) {
    std::string const opus = "webm|ffmpeg:-c:a libopus";
    for (auto const& [halves, expected] : Rows{{"mp4 mp3", "mp4|ffmpeg:-c:a aac -strict -2"},
                                               {"mp4 m4a", "mp4|"},
                                               {"webm mp3", opus},
                                               {"webm m4a", opus},
                                               {"webm weba", "webm|"},
                                               {"webm m4a mkv", "mkv|"}}) {
        std::istringstream words(halves);
        std::string video, audio, forced;
        words >> video >> audio >> forced;
        auto const merged =
            IHVDownloadFormat::MergeDownloadFormat(Audio(audio), Video(video), forced == "mkv");
        EXPECT_EQ(Text(merged->Extension(), merged->PostProcessingOpts()), expected) << halves;
        EXPECT_EQ(merged->MergeFormatName(), video);
    }
}

TEST(MergedFormat, AnswersFromItsHalves) {
    std::string const more = R"(, "fps": 25, "audio_channels": 2, "asr": 9, "language": )";
    auto const video =
        Video("mp4", more + R"("xx", "format_id": "vid", "filesize": 100, "tbr": 1, "vbr": 3, "abr": 5)");
    auto const audio =
        Audio("mp3", more + R"("yy", "format_id": "aud", "filesize": 50, "tbr": 2, "vbr": 4, "abr": 6)");
    auto const merged = IHVDownloadFormat::MergeDownloadFormat(audio, video, false);
    std::string const expected =
        "vid+aud|mp4|1920x1080|1920|1080|25|2|||1.0K|3.0K|5.0K|0.009000KHz|150|150B|vc.1|vc|ac.2|ac|"
        "yy| |0|0|";
    merged->SetEstSize(9);
    auto const copy = merged->Clone();
    for (auto const& f : {merged, copy})
        EXPECT_EQ(All(*f), expected + "1");
    EXPECT_EQ(All(HVDownloadFormat(merged)), expected + "0");
    video->SetEstSize(1000);
    audio->SetEstSize(500);
    EXPECT_EQ(Text(merged->Size(), copy->Size()), "1500|150");
}

TEST(FormatDescription, IsComposedByKind) {
    std::string const sound = R"("ext": "m4a", "resolution": "audio only", "language": "xx")";
    for (auto const& [members, expected] :
         Rows{{sound + R"(, "acodec": "ac.2", "tbr": 129.5)", "m4a(ac,xx) - 129.5K"},
              {R"("ext": "e", "resolution": "2x2", "language": "xx")", "e(,xx) - 0.0K 2x2"},
              {R"("ext": "mp4", "resolution": "2x2", "vcodec": "vc.1", "acodec": "none", "tbr": 1000)",
               "mp4(vc,none) - 1000.0K 2x2"}})
        EXPECT_EQ(Format(members)->Description(), expected);
    // A row of the plain table may have no rate.
    for (auto const& [row, expected] :
         Rows{{"x  e   audio only |         p     |            ", "e"},
              {"x  e   audio only |      1k p     |            ", "e - 1k"},
              {"x  e   2x2        |         p     | vc     ac    ", "e(vc,ac) - 2x2"}}) {
        auto const format = IHVDownloadFormat::MallocDownloadFormat(
            row, "ID EXT RESOLUTION |     TBR PROTO | VCODEC ACODEC MORE INFO");
        EXPECT_EQ(format->Description(), expected);
    }
}

TEST(StableSort, IsStableAndInBoundsForAnyRule) {
    for (int const count : {0, 1, 3, 1025}) {
        std::vector<std::pair<int, int>> values;
        for (int i = 0; i < count; ++i)
            values.emplace_back(i * 7919 % 10, i);
        auto expected = values;
        std::stable_sort(expected.begin(), expected.end(), [](auto a, auto b) { return a.first < b.first; });
        HVStableSort(values, [](auto& a, auto& b) { return a.first < b.first; });
        EXPECT_EQ(values, expected) << count;
        HVStableSort(values, [](auto&, auto&) { return true; });
        EXPECT_THAT(values, testing::UnorderedElementsAreArray(expected)) << count;
    }
}

} // namespace
} // namespace Halvorn

#include "HVMergeDownloadFormat.h"
#include "HVStableSort.h"
#include "Samples.h"

#include <chrono>

namespace Halvorn {
namespace {

using Type = IHVDownloadFormat::FormatType;

TEST(FormatKind, FollowsTheExtensionWithCase) {
    struct Row {
        char const* extension;
        Type type;
        char const* name;
    };
    for (Row const& row :
         {Row{"mp4", Type::FormatMP4, "mp4"}, Row{"mp3", Type::FormatMP3, "mp3"},
          Row{"m4a", Type::FormatM4A, "m4a"}, Row{"mkv", Type::FormatMKV, "mkv"},
          Row{"mka", Type::FormatMKA, "mka"}, Row{"webm", Type::FormatWebM, "webm"},
          Row{"weba", Type::FormatWebA, "webm"}, Row{"MP4", Type::FormatUnknown, "unknown"},
          Row{"", Type::FormatUnknown, "unknown"}, Row{"mp44", Type::FormatUnknown, "unknown"}}) {
        auto const format = Video(row.extension);
        EXPECT_EQ(format->GetFormatType(), row.type) << row.extension;
        EXPECT_EQ(format->GetFormatName(), row.name) << row.extension;
        bool const is[] = {format->IsMP4(), format->IsMP3(),  format->IsM4A(), format->IsMKV(),
                           format->IsMKA(), format->IsWebM(), format->IsWebA()};
        for (int type = 0; type < 7; ++type)
            EXPECT_EQ(is[type], type == row.type) << row.extension;
    }
    EXPECT_EQ(IHVDownloadFormat::GetFormatName(static_cast<Type>(99)), "unknown");
}

TEST(Format, LoadsEveryValueOfItsRow) {
    auto const format = Format(R"("format_id": "137", "ext": "mp4", "vcodec": "vc.x.y", "acodec": ".ac",
        "resolution": "1920x1080", "fps": 29.97, "audio_channels": 2, "tbr": 1234.56, "protocol": "https",
        "vbr": 1000, "abr": 128, "asr": 44100, "dynamic_range": "SDR", "format": "137 - big", "container": "dash",
        "filesize": 1536, "language": "en")");
    EXPECT_EQ(format->FormatCode() + format->Extension() + format->Proto() + format->HDR(), "137mp4httpsSDR");
    EXPECT_EQ(format->VideoCodecName() + " " + format->VideoCodecShortName(), "vc.x.y vc");
    EXPECT_EQ(format->AudioCodecName() + " " + format->AudioCodecShortName(), ".ac .ac");
    EXPECT_EQ(format->TBR() + " " + format->VBR() + " " + format->ABR(), "1234.6K 1000.0K 128.0K");
    EXPECT_EQ(format->ASR() + " " + format->SizeFormat(), "44.099998KHz 1.50KB");
    EXPECT_EQ(format->Resolution() + " " + format->MoreInfo(), "1920x1080 137 - big dash");
    EXPECT_EQ(format->Width() * 10000 + format->Height(), 19201080);
    EXPECT_FLOAT_EQ(format->FramePerSecond(), 29.97F);
    EXPECT_EQ(format->ChannelCount(), 2);
    EXPECT_EQ(format->GetAudioLanguage(), "en");
    EXPECT_FALSE(format->AudioOnly() || format->VideoOnly() || format->MergeFormat());
    EXPECT_EQ(format->MergeFormatName() + format->PostProcessingOpts(), "");

    auto const copy = format->Clone();
    EXPECT_NE(copy, format);
    EXPECT_TRUE(*copy == format);
    EXPECT_EQ(copy->FormatCode() + copy->GetAudioLanguage() + copy->Proto(), "137enhttps");
    copy->SetEstSize(1048576);
    EXPECT_EQ(copy->SizeFormat(), "1.00MB");
    EXPECT_EQ(copy->Size(), 1048576U);
    EXPECT_EQ(format->Size(), 1536U);

    HVDownloadFormat const nothing(static_cast<IHVDownloadFormat const*>(nullptr));
    EXPECT_FALSE(nothing.AudioOnly());
    EXPECT_TRUE(nothing == std::make_shared<HVDownloadFormat>().get());
}

TEST(Format, RefusesRowsThatAreNotOffered) {
    HVDownloadFormat format;
    EXPECT_FALSE(format.LoadFromJsonObject(nullptr));
    EXPECT_FALSE(format.LoadFromJsonObject(std::make_shared<HVJsonObjectFormat>(nullptr)));
    EXPECT_FALSE(format.LoadFromJsonObject(FormatJson(R"("ext": "mp4", "resolution": "1x1")")));
    EXPECT_FALSE(format.LoadFromJsonObject(FormatJson(R"("format_id": "s", "ext": "mhtml", "vcodec": "v")")));
    EXPECT_EQ(format.VideoCodecName(), "");
    EXPECT_FALSE(format.LoadFromJsonObject(FormatJson(R"("format_id": "s", "vcodec": "some images")")));
    EXPECT_EQ(format.FormatCode() + format.VideoCodecName(), "ssome images");
    EXPECT_THROW(format.LoadFromJsonObject(FormatJson(R"("format_id": "s", "resolution": "axb")")),
                 std::invalid_argument);
}

TEST(Format, RelabelsSoundInAPictureContainer) {
    EXPECT_TRUE(Audio("mp4")->IsM4A());
    EXPECT_EQ(Audio("webm")->Extension(), "webm");
    EXPECT_EQ(Video("mp4")->Extension(), "mp4");
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
             Row{sound(2), sound(2), 0},
             Row{sized(1920, 720, 1), sized(1280, 1080, 9), 1},
             Row{sized(1920, 720, 9), sized(1920, 1080, 1), -1},
             Row{sized(1920, 1080, 2), sized(1920, 1080, 1), 1},
             Row{sound(99), sized(1, 1, 1), -1},
             Row{sound(99), sized(0, 0, 1), 0},
             Row{sound(1), sized(0, 0, 2), -1},
             Row{nullptr, sized(1, 1, 1), 0},
         }) {
        EXPECT_EQ(IHVDownloadFormat::CompareDownloadFormat(row.a, row.b), row.expected);
        EXPECT_EQ(IHVDownloadFormat::CompareDownloadFormat(row.b, row.a), -row.expected);
    }
    EXPECT_TRUE(HVDownloadFormat().BetterThan(nullptr));
}

TEST(FormatEquality, LeavesOutIdentifierProtocolAndLanguage) {
    std::string const base = R"("ext": "mp4", "fps": 30.0, "resolution": "2x2", "format": "f")";
    auto const format = Format(base);
    EXPECT_TRUE(*format == format);
    EXPECT_FALSE(*format == nullptr);
    EXPECT_TRUE(*format == Format(base + R"(, "format_id": "y", "protocol": "p", "language": "en")"));
    for (char const* const more :
         {R"("audio_channels": 1)", R"("tbr": 1)", R"("vbr": 1)", R"("abr": 1)", R"("asr": 1)",
          R"("vcodec": "v")", R"("acodec": "a")", R"("dynamic_range": "d")", R"("container": "c")",
          R"("filesize": 1)", R"("width": 1)", R"("height": 1)"})
        EXPECT_FALSE(*format == Format(base + ", " + more)) << more;
    for (char const* const other : {R"("ext": "mkv", "fps": 30.0, "resolution": "2x2", "format": "f")",
                                    R"("ext": "mp4", "fps": 29.97, "resolution": "2x2", "format": "f")",
                                    R"("ext": "mp4", "fps": 30.0, "resolution": "2x02", "format": "f")"})
        EXPECT_FALSE(*format == Format(other)) << other;
}

TEST(FormatMerging, GoesByTheContainersAlone) {
    std::string const allowed =
        " mp4+mp3 mp4+m4a webm+mp3 webm+m4a webm+weba webm+webm mkv+mka mkv+mp3 mkv+m4a ";
    char const* const extensions[] = {"mp4", "mp3", "m4a", "mkv", "mka", "webm", "weba", "ogg"};
    for (std::string const video : extensions) {
        for (std::string const audio : extensions) {
            auto const a = Video(video);
            // A sound that the tool calls "mp4" has become "m4a".
            auto const b = Audio(audio);
            bool const expected = allowed.find(" " + video + "+" + b->Extension() + " ") != std::string::npos;
            EXPECT_EQ(IHVDownloadFormat::CanMergeDownloadFormat(a, b), expected) << video << audio;
            EXPECT_EQ(IHVDownloadFormat::CanMergeDownloadFormat(b, a), expected) << video << audio;
            EXPECT_EQ(IHVDownloadFormat::MergeDownloadFormat(a, b, true) != nullptr, expected)
                << video << audio;
        }
    }
    auto const both = Format(R"("ext": "mp4", "acodec": "a")");
    EXPECT_FALSE(IHVDownloadFormat::CanMergeDownloadFormat(Video("mp4"), Video("mp4")));
    EXPECT_FALSE(IHVDownloadFormat::CanMergeDownloadFormat(Audio("m4a"), Audio("m4a")));
    EXPECT_FALSE(IHVDownloadFormat::CanMergeDownloadFormat(both, Audio("m4a")));
    EXPECT_FALSE(IHVDownloadFormat::CanMergeDownloadFormat(nullptr, Audio("m4a")));
    EXPECT_FALSE(IHVDownloadFormat::CanMergeDownloadFormat(Video("mp4"), nullptr));
}

TEST(MergedFormat, TellsWhatTheJoinNeeds) {
    struct Row {
        char const* video;
        char const* audio;
        bool forceMKV;
        char const* extension;
        char const* options;
    };
    for (Row const& row : {
             Row{"mp4", "mp3", false, "mp4", "ffmpeg:-c:a aac -strict -2"},
             Row{"mp4", "m4a", false, "mp4", ""},
             Row{"webm", "mp3", false, "webm", "ffmpeg:-c:a libopus"},
             Row{"webm", "m4a", false, "webm", "ffmpeg:-c:a libopus"},
             Row{"webm", "weba", false, "webm", ""},
             Row{"webm", "webm", false, "webm", ""},
             Row{"mkv", "mp3", false, "mkv", ""},
             Row{"mp4", "mp3", true, "mkv", ""},
             Row{"webm", "m4a", true, "mkv", ""},
         }) {
        auto const merged =
            IHVDownloadFormat::MergeDownloadFormat(Audio(row.audio), Video(row.video), row.forceMKV);
        ASSERT_NE(merged, nullptr) << row.video << row.audio;
        EXPECT_EQ(merged->Extension(), row.extension) << row.video << row.audio;
        EXPECT_EQ(merged->PostProcessingOpts(), row.options) << row.video << row.audio;
        EXPECT_EQ(merged->MergeFormatName(), row.video);
    }
}

TEST(MergedFormat, AnswersFromItsHalves) {
    std::string const more =
        R"(, "fps": 25, "audio_channels": 2, "vbr": 7, "abr": 8, "asr": 9, "language": )";
    auto const video = Video("mp4", more + R"("xx", "format_id": "vid", "filesize": 100, "tbr": 1)");
    auto const audio = Audio("mp3", more + R"("yy", "format_id": "aud", "filesize": 50, "tbr": 2)");
    auto const merged = IHVDownloadFormat::MergeDownloadFormat(audio, video, false);
    EXPECT_EQ(merged->FormatCode(), "vid+aud");
    EXPECT_TRUE(merged->MergeFormat());
    EXPECT_FALSE(merged->AudioOnly() || merged->VideoOnly());
    EXPECT_EQ(merged->VideoCodecName() + merged->AudioCodecName() + merged->GetAudioLanguage(), "vc.1ac.2yy");
    EXPECT_EQ(merged->TBR() + merged->VBR() + merged->ABR() + merged->ASR(), "1.0K7.0K8.0K0.009000KHz");
    EXPECT_EQ(merged->Width() + merged->Height() + merged->ChannelCount(), 3002);
    merged->SetEstSize(9);
    EXPECT_EQ(merged->SizeFormat(), "150B");
    auto const copy = merged->Clone();
    EXPECT_TRUE(*copy == merged);
    video->SetEstSize(1000);
    EXPECT_EQ(merged->Size(), 1050U);
    EXPECT_EQ(copy->Size(), 150U);
    HVDownloadFormat const flat(merged);
    EXPECT_EQ(flat.FormatCode(), "vid+aud");
    EXPECT_EQ(flat.Size(), 1050U);

    HVMergeDownloadFormat const empty(false);
    EXPECT_TRUE(empty.AudioOnly() && empty.VideoOnly());
    EXPECT_EQ(empty.FormatCode() + empty.Extension() + empty.TBR() + empty.MergeFormatName(), "");
    EXPECT_EQ(empty.SizeFormat(), "0B");
    EXPECT_TRUE(*empty.Clone() == &empty);
    EXPECT_EQ(HVMergeDownloadFormat(video, nullptr, false).FormatCode(), "vid");
    EXPECT_EQ(HVMergeDownloadFormat(nullptr, audio, false).FormatCode(), "aud");
}

/// Description of a row of the plain table, since a JSON row always has a rate; with a language, of a merged
/// one.
std::string TableDescription(std::string const& resolution, std::string const& rate, std::string const& video,
                             std::string const& audio, std::string const& language) {
    auto padded = [](std::string const& text, std::size_t width) {
        return text + std::string(width - text.size(), ' ');
    };
    std::string const row = "x  e   " + padded(resolution, 11) + "| " + std::string(7 - rate.size(), ' ') +
                            rate + " p     | " + padded(video, 7) + audio + "  ";
    auto const format = IHVDownloadFormat::MallocDownloadFormat(
        row, "ID EXT RESOLUTION |     TBR PROTO | VCODEC ACODEC MORE INFO");
    if (format == nullptr)
        return "no format";
    if (language.empty())
        return format->Description();
    return HVMergeDownloadFormat(format, Audio("e", ", \"language\": \"" + language + "\""), false)
        .Description();
}

TEST(FormatDescription, IsComposedByKind) {
    EXPECT_EQ(Audio("m4a", R"(, "language": "xx", "tbr": 129.5)")->Description(), "m4a(ac,xx) - 129.5K");
    EXPECT_EQ(Audio("m4a", R"(, "language": "xx", "tbr": 1, "format_id": "y")")->Description(),
              "m4a(ac,xx) - 1.0K");
    EXPECT_EQ(Format(R"("ext": "e", "resolution": "audio only", "language": "xx")")->Description(),
              "e(xx) - 0.0K");
    EXPECT_EQ(Video("mp4", R"(, "tbr": 1000)")->Description(), "mp4(vc,none) - 1000.0K 1920x1080");
    EXPECT_EQ(Format(R"("ext": "e", "resolution": "2x2", "language": "xx")")->Description(),
              "e(,xx) - 0.0K 2x2");
    EXPECT_EQ(TableDescription("audio only", "", "", "", ""), "e");
    EXPECT_EQ(TableDescription("audio only", "", "", "ac.2", ""), "e(ac)");
    EXPECT_EQ(TableDescription("audio only", "1k", "", "", ""), "e - 1k");
    EXPECT_EQ(TableDescription("2x2", "", "vc", "ac", ""), "e(vc,ac) - 2x2");
    EXPECT_EQ(TableDescription("2x2", "1k", "vc", "", ""), "e(vc) - 1k 2x2");
    EXPECT_EQ(TableDescription("2x2", "", "vc", "", "xx"), "e(vc,ac,xx) - 2x2");
}

TEST(StableSort, IsStableAndInBoundsForAnyRule) {
    using Pair = std::pair<int, int>;
    for (int count : {0, 1, 2, 3, 7, 64, 1000, 1025}) {
        std::vector<Pair> values;
        values.reserve(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i)
            values.emplace_back(i * 7919 % 10, i);
        std::vector<Pair> expected = values;
        std::stable_sort(expected.begin(), expected.end(), [](Pair a, Pair b) { return a.first < b.first; });
        HVStableSort(values, [](Pair& a, Pair& b) { return a.first < b.first; });
        EXPECT_EQ(values, expected) << count;
        for (bool const answer : {true, false}) {
            HVStableSort(values, [answer](Pair&, Pair&) { return answer; });
            EXPECT_THAT(values, testing::UnorderedElementsAreArray(expected)) << count;
        }
    }
}

/// Sounds and unknown pictures make circles in the ranking, which a standard sort may not survive.
TEST(StableSort, SortsManyFormatsQuickly) {
    std::vector<std::shared_ptr<IHVDownloadFormat>> formats;
    for (int i = 0; i < 2000; ++i) {
        std::string const size = R"(, "filesize": )" + std::to_string(i * 7919 % 2003);
        if (i % 3 == 0)
            formats.push_back(Audio("m4a", size));
        else
            formats.push_back(Format(R"("ext": "mp4")" + size + (i % 3 == 1 ? "" : R"(, "width": 640)")));
    }
    auto const start = std::chrono::steady_clock::now();
    HVStableSort(formats, [](auto const& a, auto const& b) { return a->BetterThan(b); });
    int equal = 0;
    for (auto const& a : formats) {
        for (auto const& b : formats)
            equal += *a == b ? 1 : 0;
    }
    auto const taken = std::chrono::steady_clock::now() - start;
    RecordProperty("milliseconds", static_cast<int>(taken / std::chrono::milliseconds(1)));
    EXPECT_EQ(equal, 2000);
    EXPECT_EQ(formats.front()->Width(), 640);
    EXPECT_LT(taken, std::chrono::seconds(20));
}

} // namespace
} // namespace Halvorn

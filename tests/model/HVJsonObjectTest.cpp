#include "HVJsonObjectPlayItem.h"
#include "HVJsonObjectPlayList.h"
#include "Samples.h"

namespace Halvorn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

TEST(JsonFormat, FallsBackOnTheResolution) {
    struct Row {
        char const* json;
        int width;
        int height;
    };
    for (Row const& row : {Row{R"("width": 5, "height": 6, "resolution": "1x2")", 5, 6},
                           Row{R"("width": 0, "height": null, "resolution": "1920x1080")", 1920, 1080},
                           Row{R"("resolution": "1920x1080p")", 1920, 1080},
                           Row{R"("resolution": "audio only")", 0, 0}, Row{R"("resolution": "1x2x3")", 0, 0},
                           Row{R"("resolution": "7x")", 0, 0}, Row{R"("width": 1e99)", 0, 0}}) {
        EXPECT_EQ(FormatJson(row.json)->GetWidth(), row.width) << row.json;
        EXPECT_EQ(FormatJson(row.json)->GetHeight(), row.height) << row.json;
    }
    EXPECT_THROW(FormatJson(R"("resolution": "ax1")")->GetWidth(), std::invalid_argument);
    EXPECT_EQ(FormatJson(R"("resolution": "ax1")")->GetHeight(), 1);
    EXPECT_THROW(FormatJson(R"("resolution": "1x99999999999")")->GetHeight(), std::out_of_range);
}

TEST(JsonFormat, TellsSoundFromPictureAndPicksABitrate) {
    struct Row {
        char const* json;
        bool audioOnly;
        bool videoOnly;
        float bitrate;
    };
    for (Row const& row : {
             Row{R"("acodec": "none", "resolution": "audio only", "abr": 3, "vbr": 4)", true, false, 3},
             Row{R"("format": "140 - audio only, x", "vcodec": "v", "tbr": 9.5, "abr": 3)", true, false,
                 9.5F},
             Row{R"("acodec": "none", "abr": 3, "vbr": 4)", false, true, 4},
             Row{R"("vcodec": "none", "abr": 3, "vbr": 4, "tbr": -1)", false, false, 7},
             Row{R"("acodec": "", "tbr": null)", false, false, 0},
         }) {
        auto const format = FormatJson(row.json);
        EXPECT_EQ(format->GetAudioOnly(), row.audioOnly) << row.json;
        EXPECT_EQ(format->GetVideoOnly(), row.videoOnly) << row.json;
        EXPECT_FLOAT_EQ(format->BestBitrate(), row.bitrate) << row.json;
    }
}

TEST(JsonFormat, WritesNumbersAsTexts) {
    EXPECT_EQ(HVJsonObjectFormat::FormatBitrate(0), "0.0K");
    EXPECT_EQ(HVJsonObjectFormat::FormatBitrate(1234.56F), "1234.6K");
    EXPECT_EQ(HVJsonObjectFormat::FormatBitrate(1e30F), "1000000015047466219876688855040.0K");
    EXPECT_EQ(HVJsonObjectFormat::FormatSamplerate(48000), "48.000000KHz");
    EXPECT_EQ(HVJsonObjectFormat::FormatSamplerate(44100), "44.099998KHz");
    EXPECT_EQ(HVJsonObjectFormat::FormatSamplerate(0), "0.000000KHz");
    struct Row {
        unsigned long long size;
        char const* text;
    };
    for (Row const& row : {Row{0, "0B"}, Row{1023, "1023B"}, Row{1024, "1.00KB"}, Row{1048575, "1024.00KB"},
                           Row{1572864, "1.50MB"}, Row{1073741823, "1024.00MB"}, Row{2147483648, "2.00GB"},
                           Row{UINT64_MAX, "17179869184.00GB"}})
        EXPECT_EQ(HVJsonObjectFormat::FormatFilesize(row.size), row.text);
    EXPECT_EQ(FormatJson(R"("format": "f")")->GetMoreInfo(), "f ");
    EXPECT_EQ(FormatJson("")->GetMoreInfo(), " ");
}

HVJsonObjectPlayItem Item(std::string const& members) {
    return HVJsonObjectPlayItem(Node("{" + members + "}"));
}

TEST(JsonItem, FindsItsDuration) {
    struct Row {
        char const* json;
        int seconds;
        char const* text;
    };
    for (Row const& row : {
             Row{R"("duration": 4000)", 4000, "400:06:40"},
             Row{R"("duration": 3661.9)", 3661, "61:01:01"},
             Row{R"("duration": null)", 0, "0:00:00"},
             Row{R"("duration": 0, "formats": [{"duration": 12.9}])", 12, "12:00:12"},
             Row{R"("formats": [{"duration": 1e30}])", 0, "0:00:00"},
             Row{R"("formats": [null])", 0, "0:00:00"},
             Row{R"("duration": 7, "duration_string": "1:02:03")", 7, "1:02:03"},
             Row{R"("duration_string": "1:02:03")", 3723, "1:02:03"},
             Row{R"("duration_string": "1:xx:03")", 3603, "1:xx:03"},
             Row{R"("duration_string": "2:05")", 125, "2:05"},
             Row{R"("duration_string": "42")", 42, "42"},
             Row{R"("duration_string": "1:2:3:4")", 0, "1:2:3:4"},
             Row{R"("duration_string": "999999999:00:00")", 0, "999999999:00:00"},
         }) {
        EXPECT_EQ(Item(row.json).GetDurationSeconds(), row.seconds) << row.json;
        EXPECT_EQ(Item(row.json).GetDurationString(), row.text) << row.json;
    }
}

TEST(JsonItem, ProposesAFileName) {
    EXPECT_EQ(Item(R"("id": "i", "description": "d", "title": "t", "fulltitle": "f")").GetFileName(), "f");
    EXPECT_EQ(Item(R"("id": "i", "description": "d", "title": "t", "fulltitle": null)").GetFileName(), "t");
    EXPECT_EQ(Item(R"("id": "i", "description": "d", "title": "")").GetFileName(), "d");
    EXPECT_EQ(Item(R"("id": "i")").GetFileName(), "i");
    EXPECT_EQ(Item("").GetFileName(), "");
}

TEST(JsonItem, ReadsItsLists) {
    auto const item =
        Item(R"("is_live": true, "thumbnails": [{"id": "a", "url": "u", "width": 3, "height": 4}, null],
        "automatic_captions": {"en": [{"ext": "b", "url": "1"}, {"ext": "a", "url": "2"}, {"url": "3"}], "de": []})");
    EXPECT_TRUE(item.IsLiveStream());
    EXPECT_EQ(item.GetThumbnailCount(), 2);
    EXPECT_EQ(item.GetThumbnailJsonObject(0)->GetID() + item.GetThumbnailJsonObject(0)->GetURL(), "au");
    EXPECT_EQ(item.GetThumbnailJsonObject(1)->GetID(), "");
    EXPECT_EQ(item.GetThumbnailJsonObject(9)->GetWidth(), 0);
    EXPECT_THAT(item.GetSubtitleNameVector(), ElementsAre("en", "de"));
    EXPECT_EQ(item.GetSubtitleCount("en") * 10 + item.GetSubtitleCount("fr"), 30);
    auto const subtitle = item.GetSubtitleJsonObject("de");
    EXPECT_EQ(subtitle->GetName("en") + subtitle->GetName("de") + subtitle->Getlanguage(), "en");
    EXPECT_THAT(subtitle->GetFormatAndUrls("en"), ElementsAre(Pair("", "3"), Pair("a", "2"), Pair("b", "1")));
}

TEST(JsonDocuments, LoadWhatTheyAreFor) {
    struct Row {
        char const* json;
        bool item;
        bool playList;
    };
    for (Row const& row :
         {Row{R"({"formats": [{}]})", true, false}, Row{R"({"formats": []})", false, false},
          Row{R"({"formats": {}})", false, false}, Row{R"({"_type": "playlist"})", false, true},
          Row{R"({"_type": "Playlist"})", false, false},
          Row{R"({"_type": "playlist", "formats": [null]})", true, true}, Row{"null", false, false},
          Row{"[]", false, false}, Row{"", false, false}, Row{"{\"formats\": [1", false, false}}) {
        HVJsonObjectPlayItem item;
        HVJsonObjectPlayList list;
        EXPECT_EQ(item.LoadFromJsonString(row.json), row.item) << row.json;
        EXPECT_EQ(list.LoadFromJsonString(row.json), row.playList) << row.json;
        HVJsonNode const node = IHVJsonReader::ReadJsonString(row.json, nullptr);
        EXPECT_EQ(item.LoadFromJsonValue(node), row.item) << row.json;
        EXPECT_EQ(list.LoadFromJsonValue(node), row.playList) << row.json;
    }
    HVJsonObjectPlayList list;
    ASSERT_TRUE(list.LoadFromJsonString(R"({"_type": "playlist", "thumbnails": [{"id": "x"}],
        "entries": [{"url": "u"}, null, {"formats": [{"format_id": "1"}]}]})"));
    EXPECT_EQ(list.GetThumbnailCount() * 10 + list.GetEntriesCount(), 13);
    EXPECT_EQ(list.GetThumbJsonObject(0)->GetID() + list.GetEntriesJsonObject(0)->GetURL(), "xu");
    EXPECT_EQ(HVJsonObjectPlayItem(list.GetEntriesJsonObject(1)->GetJsonValue()).GetFormatsCount(), 0);
    HVJsonObjectPlayItem const entry(list.GetEntriesJsonObject(2)->GetJsonValue());
    EXPECT_EQ(entry.GetFormatJsonObject(0)->GetFormatCode(), "1");
}

TEST(JsonDocuments, AnswerEmptyWithoutANode) {
    HVJsonObjectPlayItem const item;
    EXPECT_EQ(item.GetFormatsCount() + item.GetThumbnailCount() + item.GetSubtitleCount("x"), 0);
    EXPECT_EQ(item.GetFileName(), "");
    EXPECT_EQ(item.GetDurationSeconds(), 0);
    EXPECT_FALSE(item.IsLiveStream());
    EXPECT_THAT(item.GetSubtitleNameVector(), IsEmpty());
    EXPECT_EQ(item.GetFormatJsonObject(0)->GetFileSize(), 0U);
    EXPECT_EQ(item.GetSubtitleJsonObject("x")->GetName("x"), "");
    HVJsonObjectPlayList const list;
    EXPECT_EQ(list.GetEntriesCount(), 0);
    EXPECT_EQ(list.GetEntriesJsonObject(0)->GetURL() + list.GetThumbJsonObject(0)->GetURL() + list.GetID(),
              "");
}

} // namespace
} // namespace Halvorn

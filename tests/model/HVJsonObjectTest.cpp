#include "HVJsonObjectPlayItem.h"
#include "HVJsonObjectPlayList.h"
#include "Samples.h"

namespace Halvorn {
namespace {

TEST(JsonFormat, FallsBackOnTheResolution) {
    for (auto const& [json, expected] : Rows{{R"("width": 5, "height": null, "resolution": "1x2")", "5|2"},
                                             {R"("resolution": "1920x1080p")", "1920|1080"},
                                             {R"("resolution": "audio only")", "0|0"},
                                             {R"("resolution": "1x2x3")", "0|0"},
                                             {R"("width": 1e99)", "0|0"}})
        EXPECT_EQ(Text(FormatJson(json)->GetWidth(), FormatJson(json)->GetHeight()), expected) << json;
    EXPECT_THROW(FormatJson(R"("resolution": "ax1")")->GetWidth(), std::invalid_argument);
    EXPECT_THROW(FormatJson(R"("resolution": "1x99999999999")")->GetHeight(), std::out_of_range);
}

TEST(JsonFormat, TellsSoundFromPictureAndPicksABitrate) {
    for (auto const& [json, expected] :
         Rows{{R"("acodec": "none", "resolution": "audio only", "abr": 3, "vbr": 4)", "1|0|3"},
              {R"("format": "140 - audio only, x", "vcodec": "v", "tbr": 9.5, "abr": 3)", "1|0|9.5"},
              {R"("vcodec": "none", "abr": 3, "vbr": 4, "tbr": -1)", "0|0|7"},
              {R"("acodec": "none", "abr": 3, "vbr": 4)", "0|1|4"},
              {R"("acodec": "", "tbr": null)", "0|0|0"}}) {
        auto const format = FormatJson(json);
        EXPECT_EQ(Text(format->GetAudioOnly(), format->GetVideoOnly(), format->BestBitrate()), expected)
            << json;
    }
}

TEST(JsonFormat, WritesNumbersAsTexts) {
    using Format = HVJsonObjectFormat;
    EXPECT_EQ(Format::FormatBitrate(1e30F), "1000000015047466219876688855040.0K");
    std::string sizes;
    for (unsigned long long const size : {1023ULL, 1024ULL, 1048575ULL, 1572864ULL, 1073741823ULL, ~0ULL})
        sizes += Format::FormatFilesize(size) + " ";
    EXPECT_EQ(sizes, "1023B 1.00KB 1024.00KB 1.50MB 1024.00MB 17179869184.00GB ");
}

HVJsonObjectPlayItem Item(std::string const& members) {
    return HVJsonObjectPlayItem(Node("{" + members + "}"));
}

TEST(JsonItem, FindsItsDuration) {
    for (auto const& [json, expected] :
         Rows{{R"("duration": 3661.9)", "3661|61:01:01"},
              {R"("duration": null)", "0|0:00:00"},
              {R"("duration": 0, "formats": [{"duration": 12.9}])", "12|12:00:12"},
              {R"("formats": [{"duration": 1e30}])", "0|0:00:00"},
              {R"("duration": 7, "duration_string": "1:02:03")", "7|1:02:03"},
              {R"("duration_string": "1:xx:03")", "3603|1:xx:03"},
              {R"("duration_string": "2:05")", "125|2:05"},
              {R"("duration_string": "1:2:3:4")", "0|1:2:3:4"},
              {R"("duration_string": "999999999:00:00")", "0|999999999:00:00"}})
        EXPECT_EQ(Text(Item(json).GetDurationSeconds(), Item(json).GetDurationString()), expected) << json;
}

TEST(JsonItem, ProposesAFileName) {
    for (auto const& [json, name] :
         Rows{{R"("id": "i", "description": "d", "title": "t", "fulltitle": null)", "t"},
              {R"("id": "i", "description": "d", "title": "")", "d"},
              {R"("id": "i")", "i"}})
        EXPECT_EQ(Item(json).GetFileName(), name);
}

TEST(JsonDocuments, LoadWhatTheyAreFor) {
    for (auto const& [json, expected] : Rows{{R"({"formats": [{}]})", "1|0"},
                                             {R"({"formats": {}})", "0|0"},
                                             {R"({"_type": "playlist"})", "0|1"},
                                             {R"({"_type": "playlist", "formats": [null]})", "1|1"},
                                             {"[]", "0|0"},
                                             {"{\"formats\": [1", "0|0"}}) {
        HVJsonObjectPlayItem item;
        HVJsonObjectPlayList list;
        EXPECT_EQ(Text(item.LoadFromJsonString(json), list.LoadFromJsonString(json)), expected) << json;
    }
}

} // namespace
} // namespace Halvorn

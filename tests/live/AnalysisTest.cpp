// Addresses of the site, and some that are none, analysed with the real tool.

#include "Live.h"

#include "IHVDownloadSubtitle.h"
#include "IHVDownloadThumbnail.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <deque>

using namespace Halvorn;
using namespace Live;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

/// Analyses all at once, in the order of the rows.
template <typename Rows>
std::deque<Analysis> AnalyseAll(Rows const& rows) {
    std::deque<Analysis> analyses;
    for (auto const& row : rows)
        analyses.emplace_back(row.address);
    for (auto& analysis : analyses)
        analysis.Wait();
    return analyses;
}

TEST(LiveAnalysis, ListsItemsAndTheirFormatsBestFirst) {
    struct Row {
        std::string address;
        /// Title, seconds and index in the playlist of each item, each with a bar behind it.
        std::string items;
        /// Of the first item.
        std::string codes;
        std::string playList = {};
    };
    std::string const odd = "Oddities: NaN, Infinity, huge numbers, nulls, repeated ids";
    std::vector<Row> const rows = {
        // The entry between the two fails.
        {Page("list/mixed"), "Merged mp4 8 0|Combined 8 2|",
         "video640mp4+audio-en video320mp4+audio-en audio-en ", "List mixed"},
        {Page("list/feed"), "Combined 8 0|Merged mp4 8 1|", "combined640-mp4 combined320-mp4 combined-webm ",
         "List feed"},
        // A whole video that the tool would take in one file has that file's address.
        {Page("list/whole"), "combined640 0 0|Merged mp4 8 1|Two languages 8 2|", "mp4 ", "List whole"},
        // One block for each language.
        {Page("watch/two-languages"), "Two languages 8 -1|",
         "video640mp4+audio-en audio-en video640mp4+audio-fr audio-fr "},
        {Page("watch/merged-webm"), "Merged webm 8 -1|",
         "video640webm+audio-opus video320webm+audio-opus audio-opus "},
        {Page("watch/oddities"), odd + " 8 -1|", "video640mp4+audio-en combined320-mp4 audio-en "},
        {Page("watch/hls"), "HLS 8 -1|", "1280 640 "},
        {Page("watch/dash"), "DASH 8 -1|", "1+2 0+2 2 "},
        {Page("watch/live"), "Live 0 -1 live|", "0 "},
        {Page("direct/combined320.mp4"), "combined320 0 -1|", "mp4 "},
    };
    auto const analyses = AnalyseAll(rows);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        SCOPED_TRACE(rows[i].address);
        auto const& analysis = analyses[i];
        EXPECT_TRUE(analysis.Succeed()) << analysis.Message();
        EXPECT_EQ(analysis.playList == nullptr ? "" : analysis.playList->GetTitle(), rows[i].playList);
        std::string items;
        for (auto const& item : analysis.items)
            items += item->GetFileName() + " " + std::to_string(item->GetDurationSeconds()) + " " +
                     std::to_string(item->GetEntryIndexOfPlayList()) +
                     (item->IsLiveStream() ? " live|" : "|");
        EXPECT_EQ(items, rows[i].items);
        EXPECT_EQ(analysis.Codes(), rows[i].codes);
    }
    EXPECT_THAT(analyses[0].Events(), testing::Contains(HasSubstr("Loading 3 of the playlist with 3 items")));
    EXPECT_EQ(Leftovers(), "");
}

TEST(LiveAnalysis, FetchesTheBestThumbnailButNoWebP) {
    std::string folder = OutputOf({"python3", REELHAUL_SOURCE_DIR "/tests/site/media.py"});
    folder.pop_back();
    struct Row {
        char const* page;
        char const* file;
    };
    for (Row const& row : {Row{"watch/thumbnails", "huge.jpg"}, Row{"watch/webp", "middle.png"}}) {
        auto const item = ItemOf(row.page);
        ASSERT_NE(item, nullptr);
        auto const thumbnail = item->GetThumbnail();
        ASSERT_NE(thumbnail, nullptr);
        EXPECT_EQ(thumbnail->GetDownloadURL(), Page("media/") + row.file);
        EXPECT_EQ(std::string(thumbnail->GetData(), thumbnail->GetData() + thumbnail->GetDataSize()),
                  ContentOf(folder + "/" + row.file));
    }
    EXPECT_EQ(Leftovers(), "");
}

TEST(LiveAnalysis, OffersCaptionsByNameWithTheirFormats) {
    auto const item = ItemOf("watch/subtitles");
    ASSERT_NE(item, nullptr);
    std::vector<std::string> subtitles;
    for (int i = 0; i < item->GetDownloadSubtitlesCount(); ++i) {
        auto const subtitle = item->GetDownloadSubtitleAtIndex(i);
        EXPECT_THAT(subtitle->GetSubtitleFormats(), ElementsAre("json3", "srt", "vtt"));
        subtitles.push_back(subtitle->GetLanguageCode() + " " + subtitle->GetLanguageName());
    }
    EXPECT_THAT(subtitles, ElementsAre("ja 日本語", "en English", "fr Français", "pt-BR Português (Brasil)"));
}

TEST(LiveAnalysis, FailsOnceWithTheToolsOwnWords) {
    struct Row {
        std::string address;
        std::string message;
    };
    std::vector<Row> const rows = {
        {Page("watch/combined?status=404"), "err:ERROR: [reelhaul-site] combined: Unable to download"},
        {Page("watch/combined?cut=10"), "err:ERROR: [reelhaul-site] combined:"},
        {Page("watch/empty-formats"), "No video formats found"},
        {Page("list/empty"), "NO play list item found."},
        {Page("list/all-fail"), "HTTP Error 404"},
        {Page(""), "ERROR: Unsupported URL"},
        {"http://127.0.0.1:1/watch/combined", "Connection refused"},
        {"no address", "'no address' is not a valid URL"},
        {"--version", "'--version' is not a valid URL"},
    };
    auto const analyses = AnalyseAll(rows);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        SCOPED_TRACE(rows[i].address);
        EXPECT_THAT(analyses[i].Message(), HasSubstr(rows[i].message));
        ASSERT_EQ(analyses[i].ends.size(), 1U);
        EXPECT_EQ(analyses[i].ends[0]->GetErrorCode(), -1);
        EXPECT_TRUE(analyses[i].items.empty() && analyses[i].playList == nullptr);
    }
}

TEST(LiveAnalysis, SaysThatTheToolIsMissing) {
    std::string const empty = NewFolder();
    UseTools(empty);
    Analysis analysis(Page("watch/combined"));
    analysis.Wait();
    UseTools();
    EXPECT_FALSE(analysis.Succeed());
    EXPECT_THAT(analysis.Message(), HasSubstr(empty + "/yt-dlp"));
}

TEST(LiveAnalysis, StopsInTheMiddleOfTheToolsRun) {
    Analysis analysis(Page("watch/combined?stall=60"));
    ASSERT_TRUE(Eventually([] { return !Leftovers().empty(); }));
    analysis.task->StopTask();
    EXPECT_EQ(analysis.task->WaitFinish(2500), HVErrSuccess);
    ASSERT_EQ(analysis.ends.size(), 1U);
    EXPECT_FALSE(analysis.Succeed());
    EXPECT_EQ(Leftovers(), "");
}

TEST(LiveAnalysis, LoadsTwoThousandFormats) {
    auto const item = ItemOf("watch/big");
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item->GetDownloadFormatCount(), 2000);
}

} // namespace

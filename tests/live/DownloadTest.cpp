// Downloads with the real tool and ffmpeg: what the files hold and where they come to stand.

#include "Live.h"

#include "IHVFileProvider.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <deque>

using namespace Halvorn;
using namespace Live;
using testing::HasSubstr;
namespace fs = std::filesystem;

namespace {

TEST(LiveDownload, MakesPlayableFilesOfEveryKind) {
    struct Row {
        std::string page;
        std::size_t item;
        char const* code;
        std::string files;
        std::string subtitle = {};
    };
    std::vector<Row> const rows = {
        // The tool waits ten seconds before a download with a subtitle. It names the subtitle in one way when
        // the format's own extension is mp4, in another when it is not.
        {"watch/subtitles", 0, "combined320-mp4", "Subtitles.fr.srt|Subtitles.mp4|", "fr srt"},
        {"watch/subtitles", 0, "audio-en", "Subtitles.m4a|Subtitles.pt-BR.vtt|", "pt-BR vtt"},
        {"watch/merged-mp4", 0, "video640mp4+audio-en", "Merged mp4.mp4|"},
        {"watch/merged-webm", 0, "video640webm+audio-opus", "Merged webm.webm|"},
        // The sound does not fit the container, so ffmpeg encodes it again.
        {"watch/everything", 0, "video320webm+audio-en", "A page with everything.webm|"},
        {"watch/two-languages", 0, "audio-fr", "Two languages.m4a|"},
        {"watch/hls", 0, "1280", "HLS.mp4|"},
        {"watch/dash", 0, "1+2", "DASH.mp4|"},
        {"list/mixed", 1, "combined320-mp4", "Combined.mp4|"},
        // Entries without an address of their own.
        {"list/whole", 1, "video320mp4+audio-en", "Merged mp4.mp4|"},
        {"list/whole", 2, "video640mp4+audio-fr", "Two languages.mp4|"},
    };
    std::deque<Analysis> analyses;
    for (auto const& row : rows)
        analyses.emplace_back(Page(row.page));
    Downloads downloads;
    std::vector<Downloads::Row*> running;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        auto const& row = rows[i];
        SCOPED_TRACE(row.page);
        ASSERT_GT(analyses[i].Wait().items.size(), row.item) << analyses[i].Message();
        auto const item = analyses[i].items[row.item];
        ASSERT_TRUE(Choose(*item, row.code, row.subtitle));
        running.push_back(&downloads.Add(item, NewFolder()));
    }
    ASSERT_TRUE(downloads.Run());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        SCOPED_TRACE(rows[i].page + " " + rows[i].code);
        ASSERT_EQ(running[i]->ends.size(), 1U);
        EXPECT_TRUE(running[i]->controller->DownloadSucceed()) << running[i]->Message();
        EXPECT_EQ(NamesIn(running[i]->controller->GetDownloadOutputPath()), rows[i].files);
        EXPECT_EQ(Probe(running[i]->File()),
                  running[i]->File().find(".m4a") != std::string::npos ? "audio 8" : "video audio 8");
        EXPECT_FALSE(running[i]->percents.empty());
        EXPECT_TRUE(std::is_sorted(running[i]->percents.begin(), running[i]->percents.end()));
    }
    EXPECT_THAT(ContentOf(fs::path(running[0]->File()).replace_extension("fr.srt")), HasSubstr("fr line 4"));
    EXPECT_EQ(Leftovers(), "");
}

TEST(LiveDownload, GivesEachFileANameOfItsOwnThatIsLegal) {
    std::string const folder = NewFolder();
    Downloads downloads;
    for (char const* page : {"watch/japanese", "watch/same-title-a", "watch/same-title-b"}) {
        auto const item = ItemOf(page);
        ASSERT_TRUE(item != nullptr && Choose(*item, "combined320-mp4"));
        downloads.Add(item, folder);
    }
    ASSERT_TRUE(downloads.Run());
    EXPECT_THAT(
        NamesIn(folder),
        testing::MatchesRegex(
            "The same title( \\(1\\))?.mp4\\|The same title( \\(1\\))?.mp4\\|日本語の題名[^/\\:]*.mp4\\|"));
    for (auto const& entry : fs::directory_iterator(folder))
        EXPECT_EQ(Probe(entry.path()), "video audio 8");
}

TEST(LiveDownload, ReachesAnotherFileSystemAndLosesNothingWhenItsFolderIsGone) {
    std::string const memory = fs::exists("/dev/shm") ? "/dev/shm" : "/tmp";
    std::string const far = NewFolder(memory);
    std::string const gone = NewFolder();
    Downloads downloads;
    auto& moved = downloads.Add(ItemOf("watch/same-title-a"), far);
    auto& lost = downloads.Add(ItemOf("watch/same-title-b"), gone);
    fs::remove(gone);
    ASSERT_TRUE(downloads.Run());
    EXPECT_EQ(NamesIn(far), "The same title.mp4|") << moved.Message();
    EXPECT_EQ(Probe(moved.File()), "video audio 8");
    EXPECT_EQ(lost.controller->State(), HVDownloadStateDone);
    EXPECT_FALSE(lost.controller->DownloadSucceed());
    EXPECT_EQ(lost.File(), "");
    auto const begin = lost.Message().find(IHVFileProvider::GetTmpPath());
    ASSERT_NE(begin, std::string::npos) << lost.Message();
    std::string const kept = lost.Message().substr(begin, lost.Message().find(".mp4", begin) + 4 - begin);
    EXPECT_EQ(Probe(kept), "video audio 8");
    fs::remove(kept);
}

TEST(LiveDownload, FailsOnceWithTheToolsOwnWordsAndLeavesNothing) {
    std::string const alone = NewFolder();
    fs::create_symlink(ToolsFolder() + "/yt-dlp", alone + "/yt-dlp");
    struct Row {
        char const* page;
        std::string tools;
        std::string message;
    };
    std::vector<Row> const rows = {
        {"watch/combined?media.status=404", ToolsFolder(), "HTTP Error 404"},
        {"watch/merged-mp4", alone, "ffmpeg"},
        {"watch/merged-mp4", NewFolder(), "yt-dlp"},
    };
    for (auto const& row : rows) {
        SCOPED_TRACE(row.message);
        auto const item = ItemOf(row.page);
        ASSERT_NE(item, nullptr);
        std::string const folder = NewFolder();
        Downloads downloads;
        auto& run = downloads.Add(item, folder);
        UseTools(row.tools);
        bool const ended = downloads.Run();
        UseTools();
        ASSERT_TRUE(ended);
        EXPECT_THAT(run.Message(), HasSubstr(row.message));
        EXPECT_EQ(run.controller->State(), HVDownloadStateDone);
        EXPECT_FALSE(run.controller->DownloadSucceed());
        EXPECT_EQ(NamesIn(folder), "");
        EXPECT_EQ(Leftovers(), "");
    }
}

} // namespace

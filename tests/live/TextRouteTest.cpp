// The analysis from the tool's tables beside the one from its JSON.

#include "Live.h"

#include "IHVDownloadFormat.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>

using namespace Halvorn;
using namespace Live;

namespace {

/// What both routes tell of a format. Other display texts are the table's own ("1873k", "1.79MiB"), it has no
/// column for the language, and none for what is the same in every row; where there is no sound or no
/// picture, its column of the codec says so.
std::string Common(IHVDownloadFormat const& f) {
    return Text(f.FormatCode(), f.Extension(), f.Resolution(), f.Width(), f.Height(), f.AudioOnly(),
                f.VideoOnly(), f.MergeFormat(), f.FramePerSecond(), f.Proto(),
                f.AudioOnly() ? "" : f.VideoCodecName(), f.VideoOnly() ? "" : f.AudioCodecName());
}

} // namespace

TEST(LiveTextRoute, GivesWhatTheTablesCarry) {
    for (char const* page :
         {"watch/merged-mp4", "watch/two-languages", "watch/combined", "watch/merged-webm"}) {
        SCOPED_TRACE(page);
        Analysis json(Page(page));
        Analysis text(Page(page), true);
        json.Wait();
        text.Wait();
        ASSERT_EQ(Text(json.items.size(), text.items.size()), "1|1") << json.Message() << text.Message();
        // Without languages there is one block, and so one merged format for a video: the JSON has the others
        // too.
        std::map<std::string, IHVDownloadFormat const*> fromJson;
        for (int i = 0; i < json.items[0]->GetDownloadFormatCount(); ++i)
            fromJson[Common(*json.items[0]->GetDownloadFormatAtIndex(i))] =
                json.items[0]->GetDownloadFormatAtIndex(i).get();
        for (int i = 0; i < text.items[0]->GetDownloadFormatCount(); ++i) {
            auto const format = text.items[0]->GetDownloadFormatAtIndex(i);
            auto const* other = fromJson[Common(*format)];
            ASSERT_NE(other, nullptr) << Common(*format);
            // The table rounds sizes to hundredths of its unit.
            auto const size = static_cast<double>(other->Size());
            EXPECT_NEAR(static_cast<double>(format->Size()), size, 0.01 * size + 16);
        }
        EXPECT_NE(text.items[0]->GetFileName().find(json.items[0]->GetFileName()), std::string::npos);
        EXPECT_EQ(text.items[0]->GetDownloadSubtitlesCount(), 0);
    }
}

TEST(LiveTextRoute, ReadsListsNamesAndVanishedColumns) {
    struct Row {
        char const* page;
        std::string result; ///< number of items, whether there is a playlist, codes of the first item
        std::string name;   ///< what the first item's name holds
    };
    Row const rows[] = {
        {"list/mixed", "2 list video640mp4+audio-en video320mp4+audio-en audio-en ", "Merged mp4"},
        {"list/whole", "3 list combined640-mp4 combined320-mp4 combined-webm ", "Combined"},
        {"watch/japanese", "1 video640mp4+audio-en combined320-mp4 audio-en ", "日本語"},
        // One row with nothing known: most columns are gone. There is no line for the duration either, so
        // that the line before the last, the row itself, is taken for the name.
        {"watch/live", "1 0 ", "mp4"},
        {"watch/thumbnails", "1 combined320-mp4 ", "Thumbnails"},
    };
    for (auto const& row : rows) {
        SCOPED_TRACE(row.page);
        Analysis text(Page(row.page), true);
        text.Wait();
        EXPECT_TRUE(text.Succeed()) << text.Message();
        if (text.playList != nullptr)
            text.items = text.playList->GetDownloadItems();
        ASSERT_FALSE(text.items.empty());
        EXPECT_EQ(std::to_string(text.items.size()) + (text.playList != nullptr ? " list " : " ") +
                      text.Codes(),
                  row.result);
        EXPECT_NE(text.items[0]->GetFileName().find(row.name), std::string::npos)
            << text.items[0]->GetFileName();
    }
    Analysis failing(Page("nothing"), true);
    failing.Wait();
    EXPECT_NE(failing.Message().find("404"), std::string::npos) << failing.Message();
}

// The analysis from the tool's tables, with the current tool and with the oldest that is still about, beside
// the one from its JSON.

#include "Live.h"

#include "IHVDownloadFormat.h"
#include "IHVDownloadPlugin.h"
#include "IHVDownloadThumbnail.h"

#include <gtest/gtest.h>

#include <map>
#include <set>

using namespace Halvorn;
using namespace Live;

namespace {

using Formats = std::map<std::string, std::shared_ptr<IHVDownloadFormat>>;

/// All formats by their code, those that are merged in one route and not in the other left out.
Formats ByCode(IHVDownloadItem const& item) {
    Formats formats;
    for (int i = 0; i < item.GetDownloadFormatCount(); ++i)
        formats[item.GetDownloadFormatAtIndex(i)->FormatCode()] = item.GetDownloadFormatAtIndex(i);
    return formats;
}

void Compare(std::set<std::string>& differing, char const* field, bool equal) {
    if (!equal)
        differing.insert(field);
}

/// Names of the fields in which one format differs between the routes.
void CompareFormats(IHVDownloadFormat const& json, IHVDownloadFormat const& text,
                    std::set<std::string>& differing) {
    Compare(differing, "Extension", json.Extension() == text.Extension());
    Compare(differing, "Resolution", json.Resolution() == text.Resolution());
    Compare(differing, "Width", json.Width() == text.Width());
    Compare(differing, "Height", json.Height() == text.Height());
    Compare(differing, "AudioOnly", json.AudioOnly() == text.AudioOnly());
    Compare(differing, "VideoOnly", json.VideoOnly() == text.VideoOnly());
    Compare(differing, "MergeFormat", json.MergeFormat() == text.MergeFormat());
    Compare(differing, "FramePerSecond", json.FramePerSecond() == text.FramePerSecond());
    Compare(differing, "VideoCodecName", json.VideoCodecName() == text.VideoCodecName());
    Compare(differing, "AudioCodecName", json.AudioCodecName() == text.AudioCodecName());
    Compare(differing, "Proto", json.Proto() == text.Proto());
    Compare(differing, "TBR", json.TBR() == text.TBR());
    Compare(differing, "ASR", json.ASR() == text.ASR());
    Compare(differing, "HDR", json.HDR() == text.HDR());
    Compare(differing, "SizeFormat", json.SizeFormat() == text.SizeFormat());
    Compare(differing, "GetAudioLanguage", json.GetAudioLanguage() == text.GetAudioLanguage());
    // The table rounds sizes to hundredths of its unit.
    auto const a = static_cast<double>(json.Size());
    auto const b = static_cast<double>(text.Size());
    Compare(differing, "Size", std::abs(a - b) <= 0.01 * a + 16);
}

} // namespace

TEST(LiveTextRoute, GivesWhatTheTablesCarry) {
    struct Row {
        char const* page;
        /// Fields that differ, and by which rule.
        std::set<std::string> differing;
    };
    // Display texts are the table's own ("1873k", "1.79MiB", "48k"); it has no column for the language; in
    // the column of the codec that is missing it says "audio only" or "video only" where the JSON says
    // "none"; what is unknown is a word in it; a dynamic range that is the same for every row has no column.
    std::set<std::string> const texts = {"ASR", "GetAudioLanguage", "HDR", "SizeFormat", "TBR"};
    auto const with = [&](std::set<std::string> more) {
        more.insert(texts.begin(), texts.end());
        return more;
    };
    Row const rows[] = {
        {"watch/merged-mp4", with({"AudioCodecName", "VideoCodecName"})},
        {"watch/two-languages", with({"AudioCodecName", "VideoCodecName"})},
        {"watch/combined", with({})},
        {"watch/merged-webm", with({"AudioCodecName", "VideoCodecName"})},
    };
    for (auto const& row : rows) {
        SCOPED_TRACE(row.page);
        Analysis json(Page(row.page));
        Analysis text(Page(row.page), true);
        json.Wait();
        text.Wait();
        ASSERT_EQ(json.items.size(), 1U) << json.Message();
        ASSERT_EQ(text.items.size(), 1U) << text.Message();
        auto const fromJson = ByCode(*json.items[0]);
        auto const fromText = ByCode(*text.items[0]);
        std::set<std::string> differing;
        int common = 0;
        for (auto const& [code, format] : fromText) {
            if (auto const other = fromJson.find(code); other != fromJson.end()) {
                ++common;
                CompareFormats(*other->second, *format, differing);
            }
        }
        // Without languages there is one block, and so one merged format for a video: the JSON has the others
        // too.
        EXPECT_EQ(common, static_cast<int>(fromText.size()));
        for (auto const& field : differing)
            EXPECT_TRUE(row.differing.count(field) != 0) << field << " differs by no rule";
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
        ASSERT_EQ(text.ends.size(), 1U);
        EXPECT_TRUE(text.ends[0]->Succeed()) << text.Message();
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

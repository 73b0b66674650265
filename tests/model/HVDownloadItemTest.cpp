#include "HVDownloadItem.h"
#include "HVDownloadSubtitle.h"
#include "IHVPlayList.h"
#include "LogLines.h"
#include "Samples.h"

namespace Halvorn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Formats = std::vector<std::shared_ptr<IHVDownloadFormat>>;

TEST(Item, ChoosesAFormat) {
    auto const item = IHVDownloadItem::MallocDownloadItem("u");
    auto const state = [&item] {
        return Text(item->GetCurrentFormatIndex(), item->CurrentExtension(), item->GetDownloadFile());
    };
    LogLines log;
    item->SetCurrentFormatIndex(-1);
    EXPECT_EQ(state(), "-1||");
    item->AddDownloadFormat(Formats{Video("mp4"), nullptr, Video("mkv"), Video("webm")});
    EXPECT_THAT(log.Take(), IsEmpty());
    // The file belongs to the format that was chosen when it came.
    item->SetDownloadedFile("/f");
    item->SetCurrentFormatIndex(0);
    EXPECT_EQ(state(), "0|mp4|/f");
    item->SetCurrentFormatIndex(2);
    EXPECT_EQ(state(), "2|webm|");
    item->SetDownloadedFile("/f");
    item->SetCurrentFormatIndex(3);
    item->SetCurrentFormatIndex(-1);
    EXPECT_EQ(state(), "2|webm|/f");
    EXPECT_THAT(log.Take(), ElementsAre(testing::HasSubstr("Index 3 is out of download format range(0 - 3)"),
                                        testing::HasSubstr("Index -1 is out")));
    item->AddDownloadFormat(Video("mka"));
    EXPECT_EQ(item->CurrentExtension(), "mp4");
    EXPECT_FALSE(item->GetDownloadFormatAtIndex(4) || item->GetDownloadFormatAtIndex(-1));
}

TEST(Item, StoresAnySubtitleIndex) {
    auto const item = IHVDownloadItem::MallocDownloadItem("u");
    item->AddDownloadSubtitles({nullptr, std::make_shared<HVDownloadSubtitle>()});
    for (int const index : {1, -7, 0}) {
        item->SetCurrentSubtitleIndex(index);
        EXPECT_EQ(item->GetCurrentSubtitleIndex(), index);
        EXPECT_EQ(item->CurrentDownloadSubtitle() != nullptr, index == 0);
    }
}

TEST(Item, KeepsItsTwoDurationsApart) {
    HVDownloadItem item("u");
    item.SetDuration("1:02:03");
    EXPECT_EQ(item.GetDurationString(), "00:00:00");
    item.SetDuration(360000);
    item.SetDuration("");
    EXPECT_EQ(item.GetDurationString(), "100:00:00");
    item.SetFileName("name");
    item.SetFileName("");
    EXPECT_EQ(item.GetFileName(), "name");
}

TEST(PlayList, HoldsItemsThatOnlyObserveIt) {
    auto list = IHVPlayList::MallocPlayList("http://list", nullptr);
    auto const item = IHVDownloadItem::MallocDownloadItem("u");
    auto const place = [&item] {
        return Text(item->IsPlayListItem(), item->GetEntryIndexOfPlayList(), item->GetPlaylistURL());
    };
    item->SetPlayList(nullptr, 3);
    EXPECT_EQ(place(), "0|-1|");
    item->SetPlayList(list, 1);
    EXPECT_EQ(place(), "1|1|http://list");
    list->AppendDownloadItems({IHVDownloadItem::MallocDownloadItem("v"), nullptr, item});
    EXPECT_EQ(list->GetDownloadItemCount(), 2);
    EXPECT_EQ(list->GetDownloadItem(1), item);
    EXPECT_FALSE(list->GetDownloadItem(2) || list->GetDownloadItem(-1));
    list.reset();
    EXPECT_EQ(item->GetPlayList(), nullptr);
    EXPECT_EQ(place(), "0|1|http://list");
}

TEST(Subtitle, LoadsOneLanguage) {
    auto const json = std::make_shared<HVJsonObjectSubtitle>(Node(
        R"({"xx": [{"ext": "cc", "url": "u1", "name": "N"}, {"ext": "bb", "url": "u2"}, null, {"ext": "cc", "url": "u3"}],
            "yy": [], "zz": [{"ext": "aa", "url": "u"}]})"));
    HVDownloadSubtitle subtitle;
    auto const state = [&subtitle] {
        return Text(subtitle.GetLanguageCode(), subtitle.GetLanguageName(),
                    subtitle.CurrentSubtitleExtension());
    };
    EXPECT_TRUE(subtitle.LoadFromJsonObject("xx", json));
    EXPECT_THAT(subtitle.GetSubtitleFormats(), ElementsAre("", "bb", "cc"));
    EXPECT_EQ(subtitle.GetSubtitleURL("cc") + subtitle.GetSubtitleURL("dd"), "u3");
    EXPECT_EQ(state(), "xx|N|xx.");
    // Loading again keeps what was chosen, unless there is but one format.
    EXPECT_TRUE(subtitle.LoadFromJsonObject("zz", json));
    EXPECT_EQ(state(), "zz|zz|zz.aa");
    EXPECT_THAT(subtitle.GetSubtitleFormats(), ElementsAre("aa"));
    EXPECT_TRUE(subtitle.SetCurrentSubtitleFormat("not on offer"));
    EXPECT_TRUE(subtitle.LoadFromJsonObject("yy", json));
    EXPECT_EQ(state(), "yy||yy.not on offer");
    EXPECT_FALSE(subtitle.SetCurrentSubtitleFormat(""));
    EXPECT_EQ(state(), "yy||yy.");
    EXPECT_TRUE(subtitle.LoadFromJsonObject("zz", std::make_shared<HVJsonObjectSubtitle>(nullptr)));
    EXPECT_THAT(subtitle.GetSubtitleFormats(), IsEmpty());
}

TEST(Subtitle, OrderLooksAtTheFirstLetterAlone) {
    auto named = [](std::string const& name) -> std::shared_ptr<IHVDownloadSubtitle> {
        auto subtitle = std::make_shared<HVDownloadSubtitle>();
        auto const node = Node(name.empty() ? "{}" : R"({"k": [{"name": ")" + name + "\"}]}");
        subtitle->LoadFromJsonObject("k", std::make_shared<HVJsonObjectSubtitle>(node));
        return subtitle;
    };
    // Each goes before all that stand behind it.
    std::shared_ptr<IHVDownloadSubtitle> order[] = {named("\xC3\x84"), nullptr,     named("!"),
                                                    named("D"),        named("eB"), named("f")};
    for (auto& a : order) {
        for (auto& b : order)
            EXPECT_EQ(CompareByName(a, b), &a < &b) << &a - order << " " << &b - order;
    }
    auto upper = named("EA");
    auto empty = named("");
    EXPECT_FALSE(CompareByName(upper, order[4]) || CompareByName(order[4], upper));
    EXPECT_TRUE(CompareByName(empty, order[2]));
}

} // namespace
} // namespace Halvorn

#include "HVDownloadItem.h"
#include "HVDownloadSubtitle.h"
#include "HVJsonObjectPlayList.h"
#include "IHVLogConfig.h"
#include "IHVPlayList.h"
#include "Samples.h"

namespace Halvorn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Formats = std::vector<std::shared_ptr<IHVDownloadFormat>>;

/// What was logged while it lived.
class Log {
public:
    Log() {
        IHVLogConfig::SetHandler([this](auto, std::string const& line) { lines.push_back(line); });
    }
    Log(Log const&) = delete;
    Log& operator=(Log const&) = delete;
    ~Log() { IHVLogConfig::SetHandler({}); }

    std::vector<std::string> lines;
};

TEST(Item, BeginsEmpty) {
    auto const item = IHVDownloadItem::MallocDownloadItem("http://a");
    EXPECT_FALSE(item->Valid());
    EXPECT_FALSE(item->IsPlayListItem());
    EXPECT_EQ(item->GetCurrentDownloadFormat(), nullptr);
    EXPECT_EQ(item->GetCurrentFormatIndex(), -1);
    EXPECT_EQ(item->CurrentExtension() + item->GetDownloadFile() + item->GetPlaylistURL(), "");
    EXPECT_EQ(item->GetFileName() + item->GetDurationString() + item->DownloadURL(),
              "unknown00:00:00http://a");
    EXPECT_EQ(item->GetLiveStreamDownloadPos(), 1);
    EXPECT_EQ(item->CurrentDownloadSubtitle(), nullptr);
    EXPECT_EQ(IHVDownloadItem::MallocDownloadItem(Formats(), "")->GetCurrentFormatIndex(), -1);
    EXPECT_EQ(IHVDownloadItem::MallocDownloadItem(Formats{Video("mp4")}, "")->CurrentExtension(), "mp4");
}

TEST(Item, ChoosesAFormat) {
    auto const item = IHVDownloadItem::MallocDownloadItem("u");
    Log log;
    item->SetCurrentFormatIndex(-1);
    EXPECT_THAT(log.lines, IsEmpty());
    item->AddDownloadFormat(Formats{Video("mp4"), nullptr, Video("mkv"), Video("webm")});
    item->AddDownloadFormat(std::shared_ptr<IHVDownloadFormat>());
    EXPECT_EQ(item->GetDownloadFormatCount(), 3);
    EXPECT_EQ(item->GetCurrentFormatIndex(), 0);

    item->SetDownloadedFile("/f");
    item->SetCurrentFormatIndex(0);
    EXPECT_EQ(item->GetDownloadFile(), "/f");
    item->SetCurrentFormatIndex(2);
    EXPECT_EQ(item->GetDownloadFile(), "");
    EXPECT_EQ(item->CurrentExtension(), "webm");
    item->SetDownloadedFile("/f");
    item->SetCurrentFormatIndex(5);
    item->SetCurrentFormatIndex(-1);
    EXPECT_EQ(item->GetCurrentFormatIndex(), 2);
    EXPECT_EQ(item->GetDownloadFile(), "/f");
    ASSERT_EQ(log.lines.size(), 2U);
    EXPECT_THAT(log.lines[0], testing::StartsWith("Index 5 is out of download format range(0 - 3)"));

    item->ResetDownload();
    EXPECT_EQ(item->GetDownloadFile(), "");
    item->AddDownloadFormat(Video("mka"));
    EXPECT_EQ(item->GetCurrentFormatIndex(), 0);
    EXPECT_EQ(item->GetDownloadFormatAtIndex(3)->Extension(), "mka");
    EXPECT_EQ(item->GetDownloadFormatAtIndex(4), nullptr);
    EXPECT_EQ(item->GetDownloadFormatAtIndex(-1), nullptr);
}

TEST(Item, StoresAnySubtitleIndex) {
    auto const item = IHVDownloadItem::MallocDownloadItem("u");
    std::shared_ptr<IHVDownloadItem const> const view = item;
    item->AddDownloadSubtitles({std::make_shared<HVDownloadSubtitle>(), nullptr});
    item->AddDownloadSubtitle(std::make_shared<HVDownloadSubtitle>());
    EXPECT_EQ(item->GetDownloadSubtitlesCount(), 2);
    EXPECT_EQ(item->GetCurrentSubtitleIndex(), -1);
    Log log;
    for (int const index : {99, -7, 1}) {
        item->SetCurrentSubtitleIndex(index);
        EXPECT_EQ(item->GetCurrentSubtitleIndex(), index);
        EXPECT_EQ(item->CurrentDownloadSubtitle() != nullptr, index == 1);
        EXPECT_EQ(view->CurrentDownloadSubtitle(), view->GetDownloadSubtitleAtIndex(index));
    }
    EXPECT_THAT(log.lines, IsEmpty());
}

TEST(Item, KeepsItsTwoDurationsApart) {
    HVDownloadItem item("u");
    item.SetDuration("1:02:03");
    EXPECT_EQ(item.GetDurationString(), "00:00:00");
    item.SetDuration(3723);
    EXPECT_EQ(item.GetDurationString(), "01:02:03");
    item.SetDuration("");
    EXPECT_EQ(item.GetDurationSeconds(), 3723);
    EXPECT_EQ(HVDownloadItem::FormatSeconds(3661), "01:01:01");
    EXPECT_EQ(HVDownloadItem::FormatSeconds(360000), "100:00:00");
    item.SetFileName("name");
    item.SetFileName("");
    EXPECT_EQ(item.GetFileName(), "name");
}

TEST(PlayList, HoldsItemsThatOnlyObserveIt) {
    auto json = std::make_shared<HVJsonObjectPlayList>();
    ASSERT_TRUE(
        json->LoadFromJsonString(R"({"_type": "playlist", "id": "i", "title": "t", "description": "d"})"));
    auto list = IHVPlayList::MallocPlayList("http://list", json);
    EXPECT_EQ(list->GetID() + list->GetTitle() + list->GetDescription(), "itd");
    EXPECT_EQ(IHVPlayList::MallocPlayList("u", nullptr)->GetTitle(), "");

    auto const item = IHVDownloadItem::MallocDownloadItem("u");
    item->SetPlayList(nullptr, 3);
    EXPECT_EQ(item->GetEntryIndexOfPlayList(), -1);
    item->SetPlayList(list, 1);
    EXPECT_TRUE(item->IsPlayListItem());
    EXPECT_EQ(item->GetPlayList(), list);
    list->AppendDownloadItem(nullptr);
    list->AppendDownloadItems({IHVDownloadItem::MallocDownloadItem("v"), nullptr, item});
    EXPECT_EQ(list->GetDownloadItemCount(), 2);
    EXPECT_EQ(list->GetDownloadItem(1), item);
    EXPECT_EQ(list->GetDownloadItem(2), nullptr);
    EXPECT_EQ(list->GetDownloadItem(-1), nullptr);
    EXPECT_EQ(std::shared_ptr<IHVPlayList const>(list)->GetDownloadItems().back(),
              list->GetDownloadItems().back());

    list.reset();
    EXPECT_EQ(item->GetPlayList(), nullptr);
    EXPECT_FALSE(item->IsPlayListItem());
    EXPECT_EQ(item->GetEntryIndexOfPlayList(), 1);
    EXPECT_EQ(item->GetPlaylistURL(), "http://list");
}

TEST(Subtitle, LoadsOneLanguage) {
    auto const json = std::make_shared<HVJsonObjectSubtitle>(Node(
        R"({"xx": [{"ext": "cc", "url": "u1", "name": "N"}, {"ext": "bb", "url": "u2"}, null, {"ext": "cc", "url": "u3"}],
            "yy": [], "zz": [{"ext": "aa", "url": "u"}]})"));
    HVDownloadSubtitle subtitle;
    EXPECT_FALSE(subtitle.LoadFromJsonObject("xx", nullptr));
    EXPECT_TRUE(subtitle.LoadFromJsonObject("xx", json));
    EXPECT_THAT(subtitle.GetSubtitleFormats(), ElementsAre("", "bb", "cc"));
    EXPECT_EQ(subtitle.GetSubtitleURL("cc") + subtitle.GetSubtitleURL("dd"), "u3");
    EXPECT_EQ(subtitle.GetLanguageCode() + subtitle.GetLanguageName(), "xxN");
    EXPECT_EQ(subtitle.GetCurrentSubtitleFormat(), "");
    EXPECT_TRUE(subtitle.LoadFromJsonObject("zz", json));
    EXPECT_EQ(subtitle.GetLanguageName() + " " + subtitle.CurrentSubtitleExtension(), "zz zz.aa");
    subtitle.AddSubtitleFormat("dd", "u");
    subtitle.AddSubtitleFormats({{"ee", "u"}});
    EXPECT_THAT(subtitle.GetSubtitleFormats(), ElementsAre("aa"));
    EXPECT_TRUE(subtitle.SetCurrentSubtitleFormat("not on offer"));
    EXPECT_EQ(subtitle.CurrentSubtitleExtension(), "zz.not on offer");
    EXPECT_TRUE(subtitle.LoadFromJsonObject("yy", json));
    EXPECT_EQ(subtitle.GetLanguageName() + subtitle.CurrentSubtitleExtension(), "yy.not on offer");
    EXPECT_FALSE(subtitle.SetCurrentSubtitleFormat(""));
    EXPECT_EQ(subtitle.CurrentSubtitleExtension(), "yy.");
    EXPECT_TRUE(subtitle.LoadFromJsonObject("zz", json));
    EXPECT_EQ(HVDownloadSubtitle(&subtitle).GetLanguageName() +
                  HVDownloadSubtitle(&subtitle).GetLanguageCode(),
              "zz");
    EXPECT_TRUE(subtitle.LoadFromJsonObject("zz", std::make_shared<HVJsonObjectSubtitle>(nullptr)));
    EXPECT_THAT(subtitle.GetSubtitleFormats(), IsEmpty());
}

TEST(Subtitle, OrderLooksAtTheFirstLetterAlone) {
    auto named = [](std::string const& name) -> std::shared_ptr<IHVDownloadSubtitle> {
        auto subtitle = std::make_shared<HVDownloadSubtitle>();
        subtitle->LoadFromJsonObject(
            "k", std::make_shared<HVJsonObjectSubtitle>(
                     Node(name.empty() ? "{}" : R"({"k": [{"name": ")" + name + "\"}]}")));
        return subtitle;
    };
    // Each goes before all that stand behind it.
    std::vector<std::shared_ptr<IHVDownloadSubtitle>> order = {named("\xC3\x84"), nullptr,     named("!"),
                                                               named("D"),        named("eB"), named("f")};
    for (std::size_t a = 0; a < order.size(); ++a) {
        for (std::size_t b = 0; b < order.size(); ++b)
            EXPECT_EQ(CompareByName(order[a], order[b]), a < b) << a << b;
    }
    auto upper = named("EA");
    EXPECT_FALSE(CompareByName(upper, order[4]) || CompareByName(order[4], upper));
    auto empty = named("");
    EXPECT_TRUE(CompareByName(empty, order[2]));
}

} // namespace
} // namespace Halvorn

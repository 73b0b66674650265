// The argument lists of the six commands.

#include "Fakes.h"
#include "HVArgsBuilder.h"
#include "IHVDownloadCookies.h"
#include "IHVDownloadItem.h"
#include "IHVDownloadOptions.h"
#include "IHVDownloadPlugin.h"
#include "IHVGeneralOptions.h"
#include "IHVNetworkOptions.h"
#include "IHVPlayList.h"
#include "LogLines.h"

#include <gtest/gtest.h>

namespace Halvorn {
namespace {

using Args = std::vector<std::string>;

char const* const Url = "http://127.0.0.1/x";
char const* const Tube = "https://www.youtube.com/watch?v=1";

struct Row {
    char const* name;
    Args got;
    Args expected;
};

void Check(std::vector<Row> const& rows) {
    for (auto const& row : rows)
        EXPECT_EQ(row.got, row.expected) << row.name;
}

/// One argument of each group, so that a list shows the groups' order.
std::shared_ptr<IHVDownloadOptions> OneOfEach() {
    auto const general = IHVGeneralOptions::MallocGeneralOptions();
    general->SetRetryCount(IHVGeneralOptions::HVDefaultRetryCount);
    general->SetKeepVideo(true);
    auto options = IHVDownloadOptions::MallocDownloadOptions();
    options->SetGeneralOptions(general);
    options->SetDownloadCookies(IHVDownloadCookies::MallocDownloadCookies("/c.txt"));
    return options;
}

std::shared_ptr<IHVDownloadItem> Item(std::string const& url, std::shared_ptr<IHVDownloadFormat> format) {
    auto item = IHVDownloadItem::MallocDownloadItem(url);
    item->AddDownloadFormat(format);
    return item;
}

auto const Plain = std::make_shared<FakeFormat>("22", false, "mp4", "");
auto const Merged = std::make_shared<FakeFormat>("137+140", true, "mkv", "Merger:-c copy");

class Commands : public testing::Test {
protected:
    void SetUp() override {
        ffmpeg_ = HVArgsBuilder::GetMergeCommandExe();
        builder_.SetDownloadOpitons(OneOfEach());
        builder_.SetJsRuntimePath("/js run/deno");
    }

    std::string ffmpeg_;
    HVArgsBuilder bare_;
    HVArgsBuilder builder_;
    LogLines log_;
};

TEST_F(Commands, AnalysisOfOneAddress) {
    Check({
        {"no bundle",
         bare_.BuildParsePlayItemArgs(Url, true),
         {"-J", "--no-live-from-start", "--no-check-certificates", Url}},
        {"bundle without records",
         HVArgsBuilder(IHVDownloadOptions::MallocDownloadOptions()).BuildParsePlayItemArgs(Url, true),
         {"-J", "--no-live-from-start", "--no-check-certificates", Url}},
        {"tables, all groups",
         builder_.BuildParsePlayItemArgs(Url, false),
         {"--list-thumbnails", "--list-formats", "--get-filename", "--get-duration", "--skip-download",
          "--no-live-from-start", "--js-runtimes", "deno:/js run/deno", "--cookies", "/c.txt",
          "--no-check-certificates", Url}},
        {"entry",
         builder_.BuildParseListItemArgs(Tube, 0, true),
         {"--playlist-items", "1", "-J", "--live-from-start", "--js-runtimes", "deno:/js run/deno",
          "--cookies", "/c.txt", "--no-check-certificates", Tube}},
        {"empty address",
         bare_.BuildParsePlayItemArgs("", true),
         {"-J", "--no-live-from-start", "--no-check-certificates", ""}},
        {"an address like an option",
         bare_.BuildParseListItemArgs("-a/etc/passwd", 6, true),
         {"--playlist-items", "7", "-J", "--no-live-from-start", "--no-check-certificates", "--",
          "-a/etc/passwd"}},
    });
}

TEST_F(Commands, Listing) {
    Check({
        {"JSON",
         builder_.BuildSearchItemsArgs(Url, true),
         {"--no-live-from-start", "--js-runtimes", "deno:/js run/deno", "--ffmpeg-location", ffmpeg_,
          "--yes-playlist", "--flat-playlist", "--skip-download", "--sleep-interval", "10", "-J",
          "--no-check-certificates", "--cookies", "/c.txt", Url}},
        {"text, option-like",
         bare_.BuildSearchItemsArgs("--version", false),
         {"--no-live-from-start", "--ffmpeg-location", ffmpeg_, "--yes-playlist", "--flat-playlist",
          "--skip-download", "--sleep-interval", "10", "--no-check-certificates", "--", "--version"}},
    });
    EXPECT_EQ(log_.Take(), Args());
    EXPECT_EQ(bare_.BuildSearchItemsArgs("", true), Args());
    EXPECT_EQ(log_.Take(), Args{"3 Download url is not empty."});
}

TEST_F(Commands, DownloadOfAnItem) {
    auto const subtitled = [](std::string const& format) {
        auto item = Item(Tube, Plain);
        item->AddDownloadSubtitle(std::make_shared<FakeSubtitle>("fr", format));
        item->SetCurrentSubtitleIndex(0);
        return item;
    };
    // The item observes its playlist only; its address stays when the playlist is gone.
    auto const entryOf = [](std::string const& playlist, std::string const& url) {
        auto item = Item(url, Plain);
        item->SetPlayList(IHVPlayList::MallocPlayList(playlist), 4);
        return item;
    };
    Args const plain = {"--no-live-from-start",    "--format", "22",
                        "--no-check-certificates", "--output", "/o"};
    auto const with = [](Args list, Args const& more) {
        list.insert(list.end(), more.begin(), more.end());
        return list;
    };
    Check({
        {"merged, all groups",
         builder_.BuildDownloadItemArgs(Item(Url, Merged).get(), "/o.mkv"),
         {"--no-live-from-start", "--js-runtimes", "deno:/js run/deno", "--format", "137+140",
          "--merge-output-format", "mkv", "--ffmpeg-location", ffmpeg_, "--postprocessor-args",
          "Merger:-c copy", "--no-check-certificates", "--cookies", "/c.txt", "--keep-video", "--output",
          "/o.mkv", Url}},
        {"plain", bare_.BuildDownloadItemArgs(Item(Url, Plain).get(), "/o"), with(plain, {Url})},
        {"subtitle",
         bare_.BuildDownloadItemArgs(subtitled("vtt").get(), "/o"),
         {"--write-auto-sub", "--sub-lang", "fr", "--sub-format", "vtt", "--sleep-interval", "10",
          "--live-from-start", "--format", "22", "--no-check-certificates", "--output", "/o", Tube}},
        {"subtitle without a format",
         bare_.BuildDownloadItemArgs(subtitled("").get(), "/o"),
         {"--live-from-start", "--format", "22", "--no-check-certificates", "--output", "/o", Tube}},
        {"entry with an address", bare_.BuildDownloadItemArgs(entryOf(Tube, Url).get(), "/o"),
         with(plain, {Url})},
        {"entry without one", bare_.BuildDownloadItemArgs(entryOf(Tube, "").get(), "/o"),
         with(with({"--playlist-items", "5"}, plain), {Tube})},
        {"playlist like an option", bare_.BuildDownloadItemArgs(entryOf("-U", "").get(), "/o"),
         with(with({"--playlist-items", "5"}, plain), {"--", "-U"})},
        {"no item", bare_.BuildDownloadItemArgs(nullptr, "/o"), {}},
    });
    EXPECT_EQ(log_.Take(), Args());
    EXPECT_EQ(builder_.BuildDownloadItemArgs(IHVDownloadItem::MallocDownloadItem(Url).get(), "/o"),
              (Args{"--no-live-from-start", "--js-runtimes", "deno:/js run/deno"}));
    EXPECT_EQ(log_.Take(), Args{"3 No download format settings."});
    EXPECT_EQ(bare_.BuildDownloadItemArgs(Item("", Plain).get(), "/o"), Args());
    EXPECT_EQ(log_.Take(), Args{"3 Download url is not set."});
}

TEST_F(Commands, LiveStreamsAndThumbnails) {
    auto const live = [](std::string const& url) {
        auto item = IHVDownloadItem::MallocDownloadItem(url);
        item->SetLiveStream(true);
        return item;
    };
    Check({
        {"live",
         builder_.BuildDownloadLiveArgs(live(Tube).get(), "/o"),
         {"--live-from-start", "--js-runtimes", "deno:/js run/deno", "-o", "/o", Tube}},
        {"live, option-like",
         bare_.BuildDownloadLiveArgs(live("-x").get(), "/o"),
         {"--no-live-from-start", "-o", "/o", "--", "-x"}},
        {"not live", bare_.BuildDownloadLiveArgs(Item(Url, Plain).get(), "/o"), {}},
        {"no item", bare_.BuildDownloadLiveArgs(nullptr, "/o"), {}},
        {"thumbnail",
         builder_.BuildDownloadThumbArgs(Url, "/t"),
         {"--no-check-certificates", "--keep-video", "--no-live-from-start", "--js-runtimes",
          "deno:/js run/deno", "--cookies", "/c.txt", "--output", "/t", Url}},
        {"thumbnail, option-like",
         bare_.BuildDownloadThumbArgs("-t", "-o"),
         {"--no-check-certificates", "--no-live-from-start", "--output", "-o", "--", "-t"}},
    });
    EXPECT_EQ(log_.Take(), Args());
    EXPECT_EQ(bare_.BuildDownloadLiveArgs(live("").get(), "/o"), Args());
    EXPECT_EQ(log_.Take(), Args{"3 Download url is not set."});
}

TEST_F(Commands, LiveChoiceGoesByTheAddressText) {
    struct {
        char const* url;
        bool youtube;
    } const rows[] = {
        {"https://www.youtube.com", true},        {"http://127.0.0.1/?u=https://www.youtube.com/watch", true},
        {"http://www.youtube.com/watch", false},  {"https://youtube.com/watch", false},
        {"https://WWW.youtube.com/watch", false}, {"", false}};
    for (auto const& row : rows)
        EXPECT_EQ(bare_.IsYoutube(row.url), row.youtube) << row.url;
}

// The setters write into the caller's bundle, and make one where there is none.
TEST_F(Commands, GroupSetters) {
    auto const bundle = IHVDownloadOptions::MallocDownloadOptions();
    auto network = IHVNetworkOptions::MallocNetworkOptions();
    network->SetCheckCertificates(true);
    HVArgsBuilder shared(bundle);
    shared.SetNetworkOptions(network);
    EXPECT_EQ(bundle->GetNetworkOptions(), network);
    HVArgsBuilder own;
    own.SetNetworkOptions(network);
    EXPECT_EQ(own.BuildOptionsArgs(), Args());
    own.SetDownloadCookiesOpitons(IHVDownloadCookies::MallocDownloadCookies("/c"));
    EXPECT_EQ(own.BuildCookiesptions(), (Args{"--cookies", "/c"}));
    own.SetGeneralOptions(IHVGeneralOptions::MallocGeneralOptions());
    EXPECT_EQ(own.BuildGeneralOptions(), (Args{"--retries", "-1", "--fragment-retries", "-1"}));
}

} // namespace
} // namespace Halvorn

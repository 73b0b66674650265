// The argument lists of the commands, and the groups in them that come from the records.

#include "HVDownloadSubtitle.h"
#include "LogLines.h"
#include "Reelhaul.h"
#include "model/Samples.h"

namespace Halvorn {
namespace {

using Args = std::vector<std::string>;
using Item = std::shared_ptr<IHVDownloadItem>;

char const* const Tube = "https://www.youtube.com/watch?v=1";

/// As one would type it.
std::string Line(Args const& args) {
    std::string line;
    for (auto const& arg : args)
        line += (line.empty() ? "" : " ") +
                (arg.empty() || arg.find(' ') != std::string::npos ? "'" + arg + "'" : arg);
    return line;
}

class Commands : public testing::Test {
protected:
    struct Row {
        Args got;
        std::string expected;
    };

    void SetUp() override {
        IHVDownloadPlugin::UseLocalPluginForThisProcess(true);
        IHVDownloadPlugin::SharedDownloadPlugin()->SetLocalPluginInstallPath("/");
        // One argument of each group, so that a list shows the groups' order.
        auto const general = IHVGeneralOptions::MallocGeneralOptions();
        general->SetRetryCount(IHVGeneralOptions::HVDefaultRetryCount);
        general->SetKeepVideo(true);
        auto const options = IHVDownloadOptions::MallocDownloadOptions();
        options->SetGeneralOptions(general);
        options->SetDownloadCookies(IHVDownloadCookies::MallocDownloadCookies("/c.txt"));
        builder_.SetDownloadOpitons(options);
        builder_.SetJsRuntimePath("/js run/deno");
    }
    void TearDown() override { IHVDownloadPlugin::SharedDownloadPlugin()->SetLocalPluginInstallPath({}); }
    void Check(std::vector<Row> const& rows, Args const& logged = {}) {
        for (auto const& row : rows)
            EXPECT_EQ(Line(row.got), row.expected);
        EXPECT_EQ(log_.Take(), logged);
    }
    static Item ItemOf(std::string const& url, bool live = false) {
        auto item = IHVDownloadItem::MallocDownloadItem(url);
        item->AddDownloadFormat(Video("mp4"));
        item->SetLiveStream(live);
        return item;
    }
    /// An entry whose playlist has been destroyed: the item keeps the list's address.
    static Item EntryOf(std::string const& playlist, std::string const& url) {
        auto item = ItemOf(url);
        item->SetPlayList(IHVPlayList::MallocPlayList(playlist), 4);
        return item;
    }
    static Item Subtitled(std::string const& format) {
        auto item = ItemOf(Tube);
        auto const subtitle = std::make_shared<HVDownloadSubtitle>();
        subtitle->LoadFromJsonObject("fr", std::make_shared<HVJsonObjectSubtitle>(nullptr));
        subtitle->SetCurrentSubtitleFormat(format);
        item->AddDownloadSubtitle(subtitle);
        item->SetCurrentSubtitleIndex(0);
        return item;
    }

    static Item Chosen(std::vector<std::pair<std::string, bool>> const& languages) {
        auto item = Subtitled("srt");
        std::vector<std::shared_ptr<IHVDownloadSubtitle>> chosen;
        for (auto const& [code, people] : languages) {
            auto const subtitle = std::make_shared<HVDownloadSubtitle>();
            subtitle->LoadFromJsonObject(code, std::make_shared<HVJsonObjectSubtitle>(nullptr));
            subtitle->SetCurrentSubtitleFormat("vtt");
            if (people)
                subtitle->SetAuthored();
            chosen.push_back(subtitle);
        }
        item->SetChosenSubtitles(chosen);
        return item;
    }

    std::string const js_ = "--js-runtimes 'deno:/js run/deno' ";
    HVArgsBuilder bare_;
    HVArgsBuilder builder_;
    LogLines log_;
};

TEST_F(Commands, OfAnAnalysis) {
    std::string const noLive = "--no-live-from-start ";
    std::string const listing = "--ffmpeg-location /ffmpeg --yes-playlist --flat-playlist "
                                "--skip-download --sleep-interval 10 ";
    Check({
        {bare_.BuildParsePlayItemArgs("h", true), "-J " + noLive + "--no-check-certificates h"},
        {bare_.BuildParsePlayItemArgs("", true), "-J " + noLive + "--no-check-certificates ''"},
        {builder_.BuildParsePlayItemArgs("h", false),
         "--list-thumbnails --list-formats --get-filename --get-duration --skip-download " + noLive + js_ +
             "--cookies /c.txt --no-check-certificates h"},
        {builder_.BuildParseListItemArgs(Tube, 0, true), "--playlist-items 1 -J --live-from-start " + js_ +
                                                             "--cookies /c.txt --no-check-certificates " +
                                                             Tube},
        {bare_.BuildParseListItemArgs("-a/etc/passwd", 6, true),
         "--playlist-items 7 -J " + noLive + "--no-check-certificates -- -a/etc/passwd"},
        {builder_.BuildSearchItemsArgs("h", true),
         noLive + js_ + listing + "-J --no-check-certificates --cookies /c.txt h"},
        {bare_.BuildSearchItemsArgs("--version", false),
         noLive + listing + "--no-check-certificates -- --version"},
    });
    Check({{bare_.BuildSearchItemsArgs("", true), ""}}, {"3 Download url is not empty."});
    // The choice of a live stream's beginning goes by the address text.
    for (char const* const text : {"https://www.youtube.com", "http://h/?u=https://www.youtube.com/watch"})
        EXPECT_TRUE(bare_.IsYoutube(text)) << text;
    for (char const* const text :
         {"http://www.youtube.com/", "https://youtube.com/", "https://WWW.youtube.com/"})
        EXPECT_FALSE(bare_.IsYoutube(text)) << text;
}

TEST_F(Commands, OfADownload) {
    std::string const plain = "--no-live-from-start --format x --no-check-certificates --output /o ";
    std::string const tube =
        "--live-from-start --format x --no-check-certificates --output /o " + std::string(Tube);
    auto const download = [&](Item const& item) { return bare_.BuildDownloadItemArgs(item.get(), "/o"); };
    auto const merged = IHVDownloadItem::MallocDownloadItem("h");
    merged->AddDownloadFormat(IHVDownloadFormat::MergeDownloadFormat(Video("mp4"), Audio("mp3"), false));
    Check({
        {builder_.BuildDownloadItemArgs(merged.get(), "/o"),
         "--no-live-from-start " + js_ +
             "--format x+x --merge-output-format mp4 --ffmpeg-location /ffmpeg "
             "--postprocessor-args 'ffmpeg:-c:a aac -strict -2' --no-check-certificates --cookies /c.txt "
             "--keep-video --output /o h"},
        {download(ItemOf("h")), plain + "h"},
        {download(Subtitled("vtt")),
         "--write-auto-sub --sub-lang fr --sub-format vtt --sleep-interval 10 " + tube},
        {download(Subtitled("")), tube},
        // In place of the current one; what stands twice is named once.
        {download(Chosen({{"fr", true}, {"en", false}, {"all", false}})),
         "--write-sub --write-auto-sub --sub-lang fr,en,\\x61\\x6c\\x6c --sub-format vtt " + tube},
        {download(Chosen({{"fr", true}})), "--write-sub --sub-lang fr --sub-format vtt " + tube},
        {download(EntryOf(Tube, "h")), plain + "h"},
        {download(EntryOf(Tube, "")), "--playlist-items 5 " + plain + Tube},
        {download(EntryOf("-U", "")), "--playlist-items 5 " + plain + "-- -U"},
        {download(nullptr), ""},
    });
    Check({{builder_.BuildDownloadItemArgs(IHVDownloadItem::MallocDownloadItem("h").get(), "/o"),
            "--no-live-from-start --js-runtimes 'deno:/js run/deno'"}},
          {"3 No download format settings."});
    Check({{download(ItemOf("")), ""}}, {"3 Download url is not set."});
}

TEST_F(Commands, OfLiveStreamsAndThumbnails) {
    auto const live = [](HVArgsBuilder const& builder, Item const& item) {
        return builder.BuildDownloadLiveArgs(item.get(), "/o");
    };
    Check({
        {live(builder_, ItemOf(Tube, true)), "--live-from-start " + js_ + "-o /o " + Tube},
        {live(bare_, ItemOf("-x", true)), "--no-live-from-start -o /o -- -x"},
        {live(bare_, ItemOf("h")), ""},
        {live(bare_, nullptr), ""},
        {builder_.BuildDownloadThumbArgs("h", "/t"),
         "--no-check-certificates --keep-video --no-live-from-start " + js_ +
             "--cookies /c.txt --output /t h"},
        {bare_.BuildDownloadThumbArgs("-t", "-o"),
         "--no-check-certificates --no-live-from-start --output -o -- -t"},
    });
    Check({{live(bare_, ItemOf("", true)), ""}}, {"3 Download url is not set."});
}

TEST_F(Commands, LeaveTheToolsConfigurationOutWhereAsked) {
    auto const all = [](HVArgsBuilder const& builder) {
        return std::vector{builder.BuildSearchItemsArgs("u", true),
                           builder.BuildParsePlayItemArgs("u", true),
                           builder.BuildParseListItemArgs("u", 0, false),
                           builder.BuildDownloadItemArgs(ItemOf("u").get(), "/o"),
                           builder.BuildDownloadItemArgs(EntryOf("p", "").get(), "/o"),
                           builder.BuildDownloadLiveArgs(ItemOf("u", true).get(), "/o"),
                           builder.BuildDownloadThumbArgs("u", "/o")};
    };
    auto const options = IHVDownloadOptions::MallocDownloadOptions();
    auto const record = IHVGeneralOptions::MallocGeneralOptions();
    options->SetGeneralOptions(record);
    auto const before = all(HVArgsBuilder(options));
    record->SetIgnoreToolConfiguration(true);
    auto lists = all(HVArgsBuilder(options->Clone()));
    for (Args& list : lists)
        EXPECT_EQ(std::erase(list, "--ignore-config"), 1U);
    EXPECT_EQ(lists, before);
}

/// Compares the groups of a bundle that holds this record, and those of a copy of the bundle, with what is
/// expected; without a network record certificates aren't checked.
template <typename Record>
void CheckGroups(void (IHVDownloadOptions::*set)(std::shared_ptr<Record>),
                 std::shared_ptr<Record> const& record, std::string const& expected) {
    auto const bundle = IHVDownloadOptions::MallocDownloadOptions();
    (bundle.get()->*set)(record);
    for (auto const& options : {bundle, bundle->Clone()}) {
        HVArgsBuilder const builder(options);
        Args args = builder.BuildOptionsArgs();
        for (auto const& group : {builder.BuildCookiesptions(), builder.BuildGeneralOptions()})
            args.insert(args.end(), group.begin(), group.end());
        EXPECT_EQ(Line(args), expected);
    }
}

TEST(Groups, General) {
    auto const check = [](std::shared_ptr<IHVGeneralOptions> const& record, std::string const& expected) {
        CheckGroups(&IHVDownloadOptions::SetGeneralOptions, record, "--no-check-certificates" + expected);
    };
    check(IHVGeneralOptions::MallocGeneralOptions(), " --retries -1 --fragment-retries -1");
    struct {
        int limit;
        int throttled;
        char const* expected;
        bool logs;
    } const rows[] = {{0, 0, "", false},
                      {100, 100, "", true},
                      {100, 50, " --limit-rate 100 --throttled-rate 50", false},
                      {100, 0, " --limit-rate 100", false},
                      {-5, 50, " --throttled-rate 50", false}};
    LogLines log;
    for (auto const& row : rows) {
        auto const record = IHVGeneralOptions::MallocGeneralOptions();
        record->SetRetryCount(10); // the tool's own number
        record->SetLimitDownloadRate(row.limit);
        record->SetThrottledDownloadRate(row.throttled);
        check(record, row.expected);
        EXPECT_EQ(log.Take(),
                  Args(row.logs ? 2 : 0, "2 limit rate(100) can't lower throttled rate(%), ignore it."));
    }
    auto const all = IHVGeneralOptions::MallocGeneralOptions();
    all->SetConCurrentFragments(2);
    all->SetKeepFragments(true);
    all->SetLimitDownloadRate(2000000000);
    all->SetRetryCount(0);
    all->SetKeepVideo(true);
    all->SetBufferSize(1024);
    all->SetAutoResizeBufferSize(false);
    all->SetUsePartFile(false);
    check(all, " --concurrent-fragments 2 --keep-fragments --limit-rate 2000000000 --retries 0 "
               "--fragment-retries 0 --keep-video --buffer-size 1024 --no-resize-buffer --no-part");
    all->SetRetryCount(-1);
    all->SetConCurrentFragments(0);
    EXPECT_EQ(log.Take(), (Args{"2 Can't set retry count lower than zero.",
                                "2 Can't set concurrent fragment lower than 1."}));
    EXPECT_EQ(all->GetRetryCount() * 10 + all->GetConCurrentFragments(), 2);
}

TEST(Groups, Network) {
    using Options = IHVNetworkOptions;
    struct {
        std::shared_ptr<IHVProxy> proxy;
        int timeout;
        char const* address;
        int via;
        char const* expected;
    } const rows[] = {
        {nullptr, Options::HVConnectionTimeOutUndefined, "", Options::ConnectionViaAny,
         "--no-check-certificates"},
        {IHVProxy::MallocProxy(IHVProxy::ProxySchemeHttp, "", 1, "", ""), -2, "", Options::ConnectionViaIPv4,
         "--socket-timeout -2 --no-check-certificates --force-ipv4"},
        {IHVProxy::MallocProxy(IHVProxy::ProxySchemeHttp, "p", 8, "", ""), 0, "::1",
         Options::ConnectionViaIPv6,
         "--proxy http://p:8/ --socket-timeout 0 --source-address ::1 --no-check-certificates --force-ipv6"},
        {nullptr, -1, "", 7, "--no-check-certificates"},
    };
    for (auto const& row : rows) {
        auto const record = Options::MallocNetworkOptions();
        record->SetProxy(row.proxy);
        record->SetSocketTimeout(row.timeout);
        record->SetClientSideIPAddress(row.address);
        record->SetConnectionVia(static_cast<Options::ConnectionVia>(row.via));
        CheckGroups(&IHVDownloadOptions::SetNetworkOptions, record, row.expected);
    }
    // The factory's arguments don't count, and the flag stays behind in a copy.
    auto record = Options::MallocNetworkOptions(rows[2].proxy, 30, "a", Options::ConnectionViaIPv6);
    CheckGroups(&IHVDownloadOptions::SetNetworkOptions, record, "--no-check-certificates");
    record->SetUserAgent("A b");
    record->SetReferer("http://h/");
    CheckGroups(&IHVDownloadOptions::SetNetworkOptions, record,
                "--no-check-certificates --add-headers 'User-Agent:A b' --add-headers Referer:http://h/");
    record->SetCheckCertificates(true);
    EXPECT_FALSE(record->Clone()->GetCheckCertificates());
    EXPECT_EQ(record->Clone()->GetUserAgent() + record->Clone()->GetReferer(), "A bhttp://h/");
    record = Options::MallocNetworkOptions();
    record->SetCheckCertificates(true);
    // The builder's setters write into its bundle, and make one where there is none.
    auto const bundle = IHVDownloadOptions::MallocDownloadOptions();
    for (HVArgsBuilder builder : {HVArgsBuilder(bundle), HVArgsBuilder()}) {
        builder.SetNetworkOptions(record);
        EXPECT_EQ(builder.BuildOptionsArgs(), Args());
    }
    EXPECT_EQ(bundle->GetNetworkOptions(), record);
}

TEST(Groups, GeoRestriction) {
    using Geo = IHVGeoRestrictionOptions;
    auto const proxy = IHVProxy::MallocProxy(IHVProxy::ProxySchemeSocks5, "p", 1, "u", "w");
    struct {
        std::shared_ptr<Geo> record;
        std::string expected;
    } const rows[] = {{Geo::MallocGeoRestrictionOptions(nullptr, "default"), ""},
                      {Geo::MallocGeoRestrictionOptions(nullptr, ""), ""},
                      {Geo::MallocGeoRestrictionOptions(nullptr, "Default"), " --xff Default"},
                      {Geo::MallocGeoRestrictionOptions(proxy, "CH"),
                       " --geo-verification-proxy socks5://u:w@p:1/ --xff CH"}};
    for (auto const& row : rows)
        CheckGroups(&IHVDownloadOptions::SetGeoRestrictionOptions, row.record,
                    "--no-check-certificates" + row.expected);
}

TEST(Groups, Authentication) {
    auto const general = IHVGeneralAuthentication::MallocGeneralAuthentication("u", "p w", "2");
    auto const noUser = IHVGeneralAuthentication::MallocGeneralAuthentication("", "p", "2");
    auto const noPassword = IHVGeneralAuthentication::MallocGeneralAuthentication("u", "", "2");
    auto const netrc = IHVNetrcAuthentication::MallocNetrcAuthentication("/n", "c x");
    auto const plain = IHVNetrcAuthentication::MallocNetrcAuthentication();
    auto const provider = [](char const* id, char const* user) {
        return IHVAdobePassAuthentication::MallocAdobePassAuthentication(id, user, "p");
    };
    auto const certificate = [](char const* file, char const* key) {
        return IHVCertificateAuthentication::MallocCertificateAuthentication(file, key, "p");
    };
    struct {
        std::shared_ptr<IHVGeneralAuthentication> general;
        std::shared_ptr<IHVNetrcAuthentication> netrc;
        std::shared_ptr<IHVAdobePassAuthentication> provider;
        std::shared_ptr<IHVCertificateAuthentication> certificate;
        char const* password;
        std::string expected;
    } const rows[] = {
        // The first method that is set counts, even when it gives nothing.
        {general, netrc, provider("DTV", "u"), nullptr, "v",
         "--username u --password 'p w' --twofactor 2 --video-password v "},
        {noPassword, nullptr, nullptr, nullptr, "", "--username u --twofactor 2 "},
        {noUser, netrc, provider("DTV", "u"), nullptr, "", ""},
        {nullptr, netrc, provider("DTV", "u"), nullptr, "", "--netrc --netrc-location /n --netrc-cmd 'c x' "},
        {nullptr, plain, nullptr, nullptr, "v", "--netrc --video-password v "},
        {nullptr, nullptr, provider("DTV", "u"), certificate("f", "k"), "",
         "--ap-mso DTV --ap-username u --ap-password p "},
        {nullptr, nullptr, provider("com130 - 02", ""), nullptr, "", "--ap-mso 'com130 - 02' "},
        {nullptr, nullptr, provider("", "u"), nullptr, "", ""},
        {nullptr, nullptr, nullptr, certificate("f", "k"), "",
         "--client-certificate f --client-certificate-key k --client-certificate-password p "},
        {nullptr, nullptr, nullptr, certificate("f", ""), "", "--client-certificate f "},
        {nullptr, nullptr, nullptr, certificate("", "k"), "", ""},
    };
    for (auto const& row : rows) {
        auto const record = IHVAuthenticationOptions::MallocAuthenticationOptions();
        record->SetGeneralAuthentication(general); // an empty pointer clears it
        record->SetGeneralAuthentication(row.general);
        record->SetNetrcAuthentication(row.netrc);
        record->SetAdobePassAuthentication(row.provider);
        record->SetCertificateAuthentication(row.certificate);
        record->SetVideoPassword(row.password);
        CheckGroups(&IHVDownloadOptions::SetAuthenticationOptions, record,
                    row.expected + "--no-check-certificates");
    }
}

TEST(Groups, Cookies) {
    auto const both = IHVDownloadCookies::MallocDownloadCookies("/c d.txt");
    both->SetCookiesFromBrowser(HVDownloadBrowserFirefox);
    auto const stored = IHVDownloadCookies::MallocDownloadCookies(HVDownloadBrowserChromium);
    stored->SetBrowserStore({"Profile 1", "none", "basictext"});
    for (auto const& [record, expected] :
         {std::pair(both, "--cookies '/c d.txt'"),
          std::pair(stored->Clone(), "--cookies-from-browser 'chromium+basictext:Profile 1::none'"),
          std::pair(IHVDownloadCookies::MallocDownloadCookies(HVDownloadBrowserSafari),
                    "--cookies-from-browser safari"),
          std::pair(IHVDownloadCookies::MallocDownloadCookies(), "--cookies-from-browser unknown")})
        CheckGroups(&IHVDownloadOptions::SetDownloadCookies, record,
                    std::string("--no-check-certificates ") + expected);
}

} // namespace
} // namespace Halvorn

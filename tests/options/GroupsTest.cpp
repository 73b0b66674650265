// The groups of arguments that come from the records.

#include "HVArgsBuilder.h"
#include "IHVAdobePassAuthentication.h"
#include "IHVAuthenticationOptions.h"
#include "IHVCertificateAuthentication.h"
#include "IHVDownloadCookies.h"
#include "IHVDownloadOptions.h"
#include "IHVGeneralAuthentication.h"
#include "IHVGeneralOptions.h"
#include "IHVGeoRestrictionOptions.h"
#include "IHVNetrcAuthentication.h"
#include "IHVNetworkOptions.h"
#include "IHVProxy.h"
#include "LogLines.h"

#include <gtest/gtest.h>

namespace Halvorn {
namespace {

using Args = std::vector<std::string>;

template <typename Record>
struct Row {
    char const* name;
    void (*set)(Record&);
    Args expected;
};

TEST(Groups, General) {
    using Options = IHVGeneralOptions;
    Row<Options> const rows[] = {{"default",
                                  [](Options& o) { o.SetKeepVideo(false); },
                                  {"--retries", "-1", "--fragment-retries", "-1"}},
                                 {"the tool's own retries", [](Options& o) { o.SetRetryCount(10); }, {}},
                                 {"one fragment",
                                  [](Options& o) {
                                      o.SetRetryCount(10);
                                      o.SetConCurrentFragments(1);
                                  },
                                  {}},
                                 {"equal rates",
                                  [](Options& o) {
                                      o.SetRetryCount(10);
                                      o.SetLimitDownloadRate(100);
                                      o.SetThrottledDownloadRate(100);
                                  },
                                  {}},
                                 {"both rates",
                                  [](Options& o) {
                                      o.SetRetryCount(10);
                                      o.SetLimitDownloadRate(100);
                                      o.SetThrottledDownloadRate(50);
                                  },
                                  {"--limit-rate", "100", "--throttled-rate", "50"}},
                                 {"limit alone",
                                  [](Options& o) {
                                      o.SetRetryCount(10);
                                      o.SetLimitDownloadRate(100);
                                  },
                                  {"--limit-rate", "100"}},
                                 {"negative limit",
                                  [](Options& o) {
                                      o.SetRetryCount(10);
                                      o.SetLimitDownloadRate(-5);
                                      o.SetThrottledDownloadRate(50);
                                  },
                                  {"--throttled-rate", "50"}},
                                 {"everything",
                                  [](Options& o) {
                                      o.SetConCurrentFragments(2);
                                      o.SetKeepFragments(true);
                                      o.SetLimitDownloadRate(2000000000);
                                      o.SetRetryCount(0);
                                      o.SetKeepVideo(true);
                                      o.SetBufferSize(1024);
                                      o.SetAutoResizeBufferSize(false);
                                      o.SetUsePartFile(false);
                                  },
                                  {"--concurrent-fragments", "2", "--keep-fragments", "--limit-rate",
                                   "2000000000", "--retries", "0", "--fragment-retries", "0", "--keep-video",
                                   "--buffer-size", "1024", "--no-resize-buffer", "--no-part"}}};
    LogLines log;
    for (auto const& row : rows) {
        auto const record = IHVGeneralOptions::MallocGeneralOptions();
        row.set(*record);
        HVArgsBuilder builder;
        builder.SetGeneralOptions(record);
        EXPECT_EQ(builder.BuildGeneralOptions(), row.expected) << row.name;
    }
    EXPECT_EQ(log.Take(), Args{"2 limit rate(100) can't lower throttled rate(%), ignore it."});
    EXPECT_EQ(HVArgsBuilder().BuildGeneralOptions(), Args());
}

TEST(Groups, Network) {
    using Options = IHVNetworkOptions;
    Row<Options> const rows[] = {
        {"default", [](Options&) {}, {"--no-check-certificates"}},
        {"checked", [](Options& o) { o.SetCheckCertificates(true); }, {}},
        {"proxy without host",
         [](Options& o) { o.SetProxy(IHVProxy::MallocProxy(IHVProxy::ProxySchemeHttp, "", 1, "", "")); },
         {"--no-check-certificates"}},
        {"everything",
         [](Options& o) {
             o.SetProxy(IHVProxy::MallocProxy(IHVProxy::ProxySchemeHttp, "p", 8, "", ""));
             o.SetSocketTimeout(0);
             o.SetClientSideIPAddress("::1");
             o.SetConnectionVia(Options::ConnectionViaIPv6);
         },
         {"--proxy", "http://p:8/", "--socket-timeout", "0", "--source-address", "::1",
          "--no-check-certificates", "--force-ipv6"}},
        {"IPv4, strange time-out",
         [](Options& o) {
             o.SetSocketTimeout(-2);
             o.SetCheckCertificates(true);
             o.SetConnectionVia(Options::ConnectionViaIPv4);
         },
         {"--socket-timeout", "-2", "--force-ipv4"}},
        {"unknown protocol",
         [](Options& o) {
             o.SetCheckCertificates(true);
             o.SetConnectionVia(static_cast<Options::ConnectionVia>(7));
         },
         {}}};
    for (auto const& row : rows) {
        auto record = IHVNetworkOptions::MallocNetworkOptions();
        row.set(*record);
        HVArgsBuilder builder;
        builder.SetNetworkOptions(record);
        EXPECT_EQ(builder.BuildOptionsArgs(), row.expected) << row.name;
    }
}

TEST(Groups, GeoRestriction) {
    auto const proxy = IHVProxy::MallocProxy(IHVProxy::ProxySchemeSocks5, "p", 1, "u", "w");
    struct {
        std::shared_ptr<IHVProxy> proxy;
        char const* value;
        Args expected;
    } const rows[] = {{nullptr, "default", {}},
                      {nullptr, "", {}},
                      {nullptr, "never", {"--xff", "never"}},
                      {nullptr, "Default", {"--xff", "Default"}},
                      {proxy, "CH", {"--geo-verification-proxy", "socks5://u:w@p:1/", "--xff", "CH"}}};
    for (auto const& row : rows) {
        HVArgsBuilder builder;
        builder.SetGeoRestrictionOptions(
            IHVGeoRestrictionOptions::MallocGeoRestrictionOptions(row.proxy, row.value));
        EXPECT_EQ(builder.BuildGeoOptsArgs(), row.expected) << row.value;
    }
}

TEST(Groups, Authentication) {
    using Options = IHVAuthenticationOptions;
    using General = IHVGeneralAuthentication;
    using Netrc = IHVNetrcAuthentication;
    using Adobe = IHVAdobePassAuthentication;
    using Certificate = IHVCertificateAuthentication;
    auto const general = [](auto const&... texts) { return General::MallocGeneralAuthentication(texts...); };
    static auto const generalOf = general;
    Row<Options> const rows[] = {
        {"video password alone", [](Options& o) { o.SetVideoPassword("v"); }, {"--video-password", "v"}},
        {"code without user", [](Options& o) { o.SetGeneralAuthentication(generalOf("", "p", "2")); }, {}},
        {"code without password",
         [](Options& o) { o.SetGeneralAuthentication(generalOf("u", "", "2")); },
         {"--username", "u", "--twofactor", "2"}},
        {"general before all",
         [](Options& o) {
             o.SetGeneralAuthentication(generalOf("u", "p w", "2"));
             o.SetVideoPassword("v");
             o.SetNetrcAuthentication(Netrc::MallocNetrcAuthentication());
         },
         {"--username", "u", "--password", "p w", "--twofactor", "2", "--video-password", "v"}},
        {"an empty winner",
         [](Options& o) {
             o.SetGeneralAuthentication(General::MallocGeneralAuthentication());
             o.SetNetrcAuthentication(Netrc::MallocNetrcAuthentication());
         },
         {}},
        {"a cleared method",
         [](Options& o) {
             o.SetGeneralAuthentication(generalOf("u", "p", ""));
             o.SetGeneralAuthentication(nullptr);
             o.SetNetrcAuthentication(Netrc::MallocNetrcAuthentication());
             o.SetAdobePassAuthentication(Adobe::MallocAdobePassAuthentication("DTV", "u", "p"));
         },
         {"--netrc"}},
        {"netrc",
         [](Options& o) { o.SetNetrcAuthentication(Netrc::MallocNetrcAuthentication("/n", "c x")); },
         {"--netrc", "--netrc-location", "/n", "--netrc-cmd", "c x"}},
        {"provider without user",
         [](Options& o) {
             o.SetAdobePassAuthentication(Adobe::MallocAdobePassAuthentication("com130 - 02", "", "p"));
         },
         {"--ap-mso", "com130 - 02"}},
        {"provider before certificate",
         [](Options& o) {
             o.SetAdobePassAuthentication(Adobe::MallocAdobePassAuthentication("DTV", "u", "p"));
             o.SetCertificateAuthentication(Certificate::MallocCertificateAuthentication("f", "", ""));
         },
         {"--ap-mso", "DTV", "--ap-username", "u", "--ap-password", "p"}},
        {"certificate without key",
         [](Options& o) {
             o.SetCertificateAuthentication(Certificate::MallocCertificateAuthentication("f", "", "p"));
         },
         {"--client-certificate", "f"}},
        {"certificate",
         [](Options& o) {
             o.SetCertificateAuthentication(Certificate::MallocCertificateAuthentication("f", "k", "p"));
         },
         {"--client-certificate", "f", "--client-certificate-key", "k", "--client-certificate-password",
          "p"}}};
    for (auto const& row : rows) {
        auto record = Options::MallocAuthenticationOptions();
        row.set(*record);
        HVArgsBuilder builder;
        builder.SetAuthenticationOptions(record);
        EXPECT_EQ(builder.BuildAuthOptionsArgs(), row.expected) << row.name;
        Args all = row.expected;
        all.emplace_back("--no-check-certificates");
        EXPECT_EQ(builder.BuildOptionsArgs(), all) << row.name;
    }
}

TEST(Groups, Cookies) {
    auto const both = IHVDownloadCookies::MallocDownloadCookies("/c d.txt");
    both->SetCookiesFromBrowser(HVDownloadBrowserFirefox);
    struct {
        std::shared_ptr<IHVDownloadCookies> record;
        Args expected;
    } const rows[] = {{nullptr, {}},
                      {both, {"--cookies", "/c d.txt"}},
                      {IHVDownloadCookies::MallocDownloadCookies(HVDownloadBrowserSafari),
                       {"--cookies-from-browser", "safari"}},
                      {IHVDownloadCookies::MallocDownloadCookies(), {"--cookies-from-browser", "unknown"}}};
    for (auto const& row : rows) {
        HVArgsBuilder builder;
        builder.SetDownloadCookiesOpitons(row.record);
        EXPECT_EQ(builder.BuildCookiesptions(), row.expected);
    }
}

} // namespace
} // namespace Halvorn

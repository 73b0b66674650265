// What the records refuse, share and copy, and the table of providers.

#include "HVProviderTable.h"
#include "IHVAdobePassAuthentication.h"
#include "IHVAuthenticationOptions.h"
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

using Lines = std::vector<std::string>;

std::shared_ptr<IHVProxy> Proxy(int scheme, char const* host, int port, char const* user, char const* pwd) {
    return IHVProxy::MallocProxy(static_cast<IHVProxy::ProxyScheme>(scheme), host, port, user, pwd);
}

TEST(Proxy, Address) {
    struct {
        std::shared_ptr<IHVProxy> proxy;
        char const* url;
        bool logs;
    } const rows[] = {{Proxy(2, "proxy", 0, "", ""), "socks5://proxy/", false},
                      {Proxy(0, "h", 8080, "u", "p"), "http://u:p@h:8080/", false},
                      {Proxy(1, "h", -1, "u", ""), "https://u:@h:-1/", false},
                      {Proxy(1, "h", 70000, "", "p"), "https://h:70000/", false},
                      {Proxy(0, "", 1, "u", "p"), "", false},
                      {Proxy(3, "h", 1, "", ""), "", true},
                      {Proxy(3, "", 1, "", ""), "", true}};
    LogLines log;
    for (auto const& row : rows) {
        EXPECT_EQ(row.proxy->BuildProxyURL(), row.url);
        EXPECT_EQ(log.Take(), row.logs ? Lines{"3 unknown proxy scheme 3"} : Lines());
        auto const copy = row.proxy->Clone();
        EXPECT_NE(copy, row.proxy);
        EXPECT_EQ(copy->BuildProxyURL(), row.url);
        log.Take();
    }
    EXPECT_FALSE(IHVProxy::MallocProxy());
}

TEST(Records, RefusedNumbers) {
    LogLines log;
    auto const general = IHVGeneralOptions::MallocGeneralOptions();
    general->SetRetryCount(-1);
    EXPECT_EQ(log.Take(), Lines{"2 Can't set retry count lower than zero."});
    EXPECT_EQ(general->GetRetryCount(), -1);
    general->SetRetryCount(0);
    general->SetRetryCount(-1);
    EXPECT_EQ(general->GetRetryCount(), 0);
    log.Take();
    general->SetConCurrentFragments(0);
    EXPECT_EQ(log.Take(), Lines{"2 Can't set concurrent fragment lower than 1."});
    EXPECT_EQ(general->GetConCurrentFragments(), 1);
}

TEST(Records, CopyOfGeneralOptions) {
    auto const read = [](IHVGeneralOptions const& o) {
        return std::vector<int>{o.GetConCurrentFragments(), o.GetKeepFragments(),
                                o.GetLimitDownloadRate(),   o.GetThrottledDownloadRate(),
                                o.GetRetryCount(),          o.GetKeepVideo(),
                                o.GetBufferSize(),          o.GetAutoResizeBufferSize(),
                                o.GetUsePartFile()};
    };
    auto const general = IHVGeneralOptions::MallocGeneralOptions();
    EXPECT_EQ(read(*general), (std::vector<int>{1, 0, 0, 0, -1, 0, 0, 1, 1}));
    EXPECT_EQ(read(*general->Clone()), read(*general));
    general->SetConCurrentFragments(2);
    general->SetKeepFragments(true);
    general->SetLimitDownloadRate(-3);
    general->SetThrottledDownloadRate(4);
    general->SetRetryCount(5);
    general->SetKeepVideo(true);
    general->SetBufferSize(6);
    general->SetAutoResizeBufferSize(false);
    general->SetUsePartFile(false);
    EXPECT_EQ(read(*general->Clone()), (std::vector<int>{2, 1, -3, 4, 5, 1, 6, 0, 0}));
}

TEST(Records, Proxies) {
    auto proxy = Proxy(0, "h", 0, "", "");
    auto const network = IHVNetworkOptions::MallocNetworkOptions();
    auto const geo = IHVGeoRestrictionOptions::MallocGeoRestrictionOptions();
    auto const sharing = IHVGeoRestrictionOptions::MallocGeoRestrictionOptions(proxy, "never");
    network->SetProxy(proxy);
    geo->SetProxy(proxy);
    auto const copy = sharing->Clone();
    proxy->SetHostNameOrIP("changed");
    EXPECT_EQ(network->GetProxy()->GetHostNameOrIP(), "h");
    EXPECT_EQ(geo->GetProxy()->GetHostNameOrIP(), "h");
    EXPECT_EQ(copy->GetProxy()->GetHostNameOrIP(), "h");
    EXPECT_EQ(sharing->GetProxy()->GetHostNameOrIP(), "changed");
    EXPECT_EQ(copy->GetXForwardedFor(), IHVGeoRestrictionOptions::XForwardForValueNever());
    std::shared_ptr<IHVProxy> none;
    network->SetProxy(none);
    geo->SetProxy(none);
    EXPECT_EQ(network->GetProxy()->GetHostNameOrIP(), "h");
    EXPECT_EQ(geo->GetProxy()->GetHostNameOrIP(), "h");
}

TEST(Records, ArgumentsThatDoNotCount) {
    auto const network = IHVNetworkOptions::MallocNetworkOptions(Proxy(0, "h", 0, "", ""), 30, "a",
                                                                 IHVNetworkOptions::ConnectionViaIPv6);
    EXPECT_FALSE(network->GetProxy());
    EXPECT_EQ(network->GetSocketTimeout(), -1);
    EXPECT_EQ(network->GetClientSideIPAddress(), "");
    EXPECT_EQ(network->GetConnectionVia(), 0);
    EXPECT_FALSE(network->GetCheckCertificates());
}

TEST(Records, CopyOfABundle) {
    auto const bundle = IHVDownloadOptions::MallocDownloadOptions();
    auto const network = IHVNetworkOptions::MallocNetworkOptions();
    network->SetProxy(Proxy(0, "h", 0, "", ""));
    network->SetCheckCertificates(true);
    network->SetSocketTimeout(5);
    network->SetClientSideIPAddress("a");
    network->SetConnectionVia(IHVNetworkOptions::ConnectionViaIPv4);
    bundle->SetNetworkOptions(network);
    auto copy = bundle->Clone();
    EXPECT_FALSE(copy->GetGeneralOptions() || copy->GetAuthenticationOptions() ||
                 copy->GetGeoRestrictionOptions() || copy->GetDownloadCookies());
    auto const copied = copy->GetNetworkOptions();
    EXPECT_NE(copied, network);
    EXPECT_NE(copied->GetProxy(), network->GetProxy());
    EXPECT_EQ(copied->GetProxy()->BuildProxyURL(), "http://h/");
    EXPECT_EQ(copied->GetSocketTimeout(), 5);
    EXPECT_EQ(copied->GetClientSideIPAddress(), "a");
    EXPECT_EQ(copied->GetConnectionVia(), IHVNetworkOptions::ConnectionViaIPv4);
    EXPECT_FALSE(copied->GetCheckCertificates()) << "the flag stays behind";

    // All five records, none of them with a proxy.
    bundle->SetNetworkOptions(IHVNetworkOptions::MallocNetworkOptions());
    bundle->SetGeneralOptions(IHVGeneralOptions::MallocGeneralOptions());
    bundle->SetAuthenticationOptions(IHVAuthenticationOptions::MallocAuthenticationOptions());
    bundle->SetGeoRestrictionOptions(IHVGeoRestrictionOptions::MallocGeoRestrictionOptions());
    bundle->SetDownloadCookies(IHVDownloadCookies::MallocDownloadCookies("/c"));
    copy = bundle->Clone();
    EXPECT_TRUE(copy->GetGeneralOptions() && copy->GetAuthenticationOptions() &&
                copy->GetGeoRestrictionOptions() && copy->GetNetworkOptions());
    EXPECT_FALSE(copy->GetNetworkOptions()->GetProxy());
    EXPECT_NE(copy->GetDownloadCookies(), bundle->GetDownloadCookies());
    EXPECT_EQ(copy->GetDownloadCookies()->GetCookiesPathFile(), "/c");
}

TEST(Records, LoginMethodsAreCopiedIn) {
    auto const record = IHVAuthenticationOptions::MallocAuthenticationOptions();
    auto const netrc = IHVNetrcAuthentication::MallocNetrcAuthentication("l", "c");
    record->SetNetrcAuthentication(netrc);
    netrc->SetLocation("other");
    EXPECT_EQ(record->GetNetrcAuthentication()->GetLocation(), "l");
    record->GetNetrcAuthentication()->SetLocation("own");
    record->SetGeneralAuthentication(IHVGeneralAuthentication::MallocGeneralAuthentication("u", "p", "2"));
    record->SetVideoPassword("v");
    auto const copy = record->Clone();
    record->GetNetrcAuthentication()->SetLocation("later");
    EXPECT_EQ(copy->GetNetrcAuthentication()->GetLocation(), "own");
    EXPECT_EQ(copy->GetNetrcAuthentication()->GetCommand(), "c");
    EXPECT_EQ(copy->GetGeneralAuthentication()->GetTwoFactorCode(), "2");
    EXPECT_EQ(copy->GetVideoPassword(), "v");
    EXPECT_FALSE(copy->GetAdobePassAuthentication() || copy->GetCertificateAuthentication());
}

TEST(Providers, RowsKeepTheirOrder) {
    using Adobe = IHVAdobePassAuthentication;
    struct {
        int index;
        char const* id;
        char const* name;
    } const rows[] = {{-1, "", ""},
                      {0, "DTV", "DIRECTV"},
                      {1, "ATT", "AT & T U - verse"},
                      {6, "TWC", "Time Warner Cable | Spectrum"},
                      {12, "Cablevision", "Optimum / Cablevision"},
                      {13, "thr030", "3 Rivers Communications"},
                      {27, "com130 - 02", "American Community Networks"},
                      {156, "fbc - tele", "F & B Communications"},
                      {227, "weh010 - longview", "Longview - Kilgore Cable TV"},
                      {430, "cou060", "Zito Media"},
                      {433, "AlticeOne", "Optimum TV"},
                      {434, "", ""}};
    for (auto const& row : rows) {
        EXPECT_EQ(Adobe::GetSupprotedMSOID(row.index), row.id) << row.index;
        EXPECT_EQ(Adobe::GetSupportedMSOName(row.index), row.name) << row.index;
    }
    EXPECT_EQ(Adobe::GetSupportedMSOCount(), 434);
    EXPECT_FALSE(HVProviderTable[434].id || HVProviderTable[434].name);
}

TEST(Providers, SearchesCompareWholeTexts) {
    using Adobe = IHVAdobePassAuthentication;
    for (int i = 0; i < Adobe::GetSupportedMSOCount(); ++i) {
        EXPECT_EQ(Adobe::GetSupportedMSOName(Adobe::GetSupprotedMSOID(i)), Adobe::GetSupportedMSOName(i));
        EXPECT_EQ(Adobe::GetSupportedMSOID(Adobe::GetSupportedMSOName(i)), Adobe::GetSupprotedMSOID(i));
    }
    for (char const* text : {"", "dtv", "com130-02", "DT", "American Community Networks"})
        EXPECT_EQ(Adobe::GetSupportedMSOName(std::string(text)), "") << text;
    auto const record = Adobe::MallocAdobePassAuthentication("slingtv", "", "");
    EXPECT_EQ(record->Clone()->GetMultipleSystemOperatorName(), "Sling TV");
}

} // namespace
} // namespace Halvorn

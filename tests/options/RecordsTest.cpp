// What the records share and copy, the addresses of proxies, and the table of providers.

#include "LogLines.h"
#include "Reelhaul.h"

#include <gtest/gtest.h>

namespace Halvorn {
namespace {

std::shared_ptr<IHVProxy> Proxy(int scheme, char const* host, int port, char const* user, char const* pwd) {
    return IHVProxy::MallocProxy(static_cast<IHVProxy::ProxyScheme>(scheme), host, port, user, pwd);
}

TEST(Proxy, Address) {
    struct {
        std::shared_ptr<IHVProxy> proxy;
        char const* url;
        std::size_t logs;
    } const rows[] = {{Proxy(2, "proxy", 0, "", ""), "socks5://proxy/", 0},
                      {Proxy(0, "h", 8080, "u", "p"), "http://u:p@h:8080/", 0},
                      {Proxy(1, "h", -1, "u", ""), "https://u:@h:-1/", 0},
                      {Proxy(1, "h", 70000, "", "p"), "https://h:70000/", 0},
                      {Proxy(0, "", 1, "u", "p"), "", 0},
                      {Proxy(3, "", 1, "", ""), "", 1}};
    LogLines log;
    for (auto const& row : rows) {
        EXPECT_EQ(row.proxy->BuildProxyURL(), row.url);
        EXPECT_EQ(log.Take(), std::vector<std::string>(row.logs, "3 unknown proxy scheme 3"));
        EXPECT_EQ(row.proxy->Clone()->BuildProxyURL(), row.url);
        log.Take();
    }
    EXPECT_FALSE(IHVProxy::MallocProxy());
}

TEST(Records, ShareOrCopyTheirProxy) {
    auto proxy = Proxy(0, "h", 0, "", "");
    auto const network = IHVNetworkOptions::MallocNetworkOptions();
    auto const geo = IHVGeoRestrictionOptions::MallocGeoRestrictionOptions();
    auto const sharing = IHVGeoRestrictionOptions::MallocGeoRestrictionOptions(proxy, "");
    network->SetProxy(proxy);
    geo->SetProxy(proxy);
    auto const copies = {network->Clone()->GetProxy(), sharing->Clone()->GetProxy(), geo->GetProxy()};
    proxy->SetHostNameOrIP("changed");
    network->GetProxy()->SetHostNameOrIP("own");
    EXPECT_EQ(sharing->GetProxy(), proxy);
    for (auto const& copy : copies)
        EXPECT_EQ(copy->GetHostNameOrIP(), "h");
    std::shared_ptr<IHVProxy> none;
    network->SetProxy(none);
    geo->SetProxy(none);
    EXPECT_TRUE(network->GetProxy() && geo->GetProxy());
}

TEST(Records, CopyLoginMethodsInAndOut) {
    auto const record = IHVAuthenticationOptions::MallocAuthenticationOptions();
    auto const netrc = IHVNetrcAuthentication::MallocNetrcAuthentication("l", "");
    record->SetNetrcAuthentication(netrc);
    netrc->SetLocation("other");
    EXPECT_EQ(record->GetNetrcAuthentication()->GetLocation(), "l");
    auto const bundle = IHVDownloadOptions::MallocDownloadOptions();
    bundle->SetAuthenticationOptions(record);
    auto const copy = bundle->Clone();
    record->GetNetrcAuthentication()->SetLocation("own");
    EXPECT_EQ(record->GetNetrcAuthentication()->GetLocation(), "own");
    EXPECT_EQ(copy->GetAuthenticationOptions()->GetNetrcAuthentication()->GetLocation(), "l");
}

TEST(Providers, AreFoundByRowAndByWholeText) {
    using Adobe = IHVAdobePassAuthentication;
    struct {
        int index;
        char const* id;
        char const* name;
    } const rows[] = {{-1, "", ""},
                      {0, "DTV", "DIRECTV"},
                      {27, "com130 - 02", "American Community Networks"},
                      {433, "AlticeOne", "Optimum TV"},
                      {434, "", ""}};
    for (auto const& row : rows) {
        EXPECT_EQ(Adobe::GetSupprotedMSOID(row.index), row.id) << row.index;
        EXPECT_EQ(Adobe::GetSupportedMSOName(row.index), row.name) << row.index;
    }
    EXPECT_EQ(Adobe::GetSupportedMSOCount(), 434);
    for (int i = 0; i < 434; ++i) {
        EXPECT_EQ(Adobe::GetSupportedMSOName(Adobe::GetSupprotedMSOID(i)), Adobe::GetSupportedMSOName(i));
        EXPECT_EQ(Adobe::GetSupportedMSOID(Adobe::GetSupportedMSOName(i)), Adobe::GetSupprotedMSOID(i));
    }
    for (char const* text : {"", "dtv", "com130-02", "DT", "American Community Networks"})
        EXPECT_EQ(Adobe::GetSupportedMSOName(std::string(text)), "") << text;
    auto const record = Adobe::MallocAdobePassAuthentication("slingtv", "", "");
    EXPECT_EQ(record->GetMultipleSystemOperatorName(), "Sling TV");
}

} // namespace
} // namespace Halvorn

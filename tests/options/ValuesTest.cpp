// Any text that a record takes reaches the tool as one argument, as it is.

#include "HVArgsBuilder.h"
#include "IHVAdobePassAuthentication.h"
#include "IHVAuthenticationOptions.h"
#include "IHVCertificateAuthentication.h"
#include "IHVDownloadCookies.h"
#include "IHVDownloadOptions.h"
#include "IHVGeneralAuthentication.h"
#include "IHVGeoRestrictionOptions.h"
#include "IHVNetrcAuthentication.h"
#include "IHVNetworkOptions.h"

#include <gtest/gtest.h>

namespace Halvorn {
namespace {

TEST(Values, TextsGoAsTheyAre) {
    using Auth = IHVAuthenticationOptions;
    struct {
        void (*set)(Auth&, std::string const&);
        std::vector<std::string> options;
    } const rows[] = {
        {[](Auth& auth, std::string const& text) {
             auth.SetGeneralAuthentication(
                 IHVGeneralAuthentication::MallocGeneralAuthentication(text, text, text));
         },
         {"--username", "--password", "--twofactor"}},
        {[](Auth& auth, std::string const& text) {
             auth.SetNetrcAuthentication(IHVNetrcAuthentication::MallocNetrcAuthentication(text, text));
         },
         {"--netrc", "--netrc-location", "--netrc-cmd"}},
        {[](Auth& auth, std::string const& text) {
             auth.SetAdobePassAuthentication(
                 IHVAdobePassAuthentication::MallocAdobePassAuthentication(text, text, text));
         },
         {"--ap-mso", "--ap-username", "--ap-password"}},
        {[](Auth& auth, std::string const& text) {
             auth.SetCertificateAuthentication(
                 IHVCertificateAuthentication::MallocCertificateAuthentication(text, text, text));
         },
         {"--client-certificate", "--client-certificate-key", "--client-certificate-password"}},
    };
    for (std::string const& text :
         {std::string("-x"), std::string("--exec"), std::string("日本語"), std::string("\xff\xfe"),
          std::string("~/a \"b\"\n$c%s"), std::string(1 << 20, 'x'), std::string()}) {
        for (auto const& row : rows) {
            auto auth = Auth::MallocAuthenticationOptions();
            row.set(*auth, text);
            auth->SetVideoPassword(text);
            auto network = IHVNetworkOptions::MallocNetworkOptions();
            network->SetClientSideIPAddress(text);
            network->SetCheckCertificates(true);
            auto const geo = IHVGeoRestrictionOptions::MallocGeoRestrictionOptions();
            geo->SetXForwardedFor(text);
            HVArgsBuilder builder;
            builder.SetAuthenticationOptions(auth);
            builder.SetNetworkOptions(network);
            builder.SetGeoRestrictionOptions(geo);
            std::vector<std::string> expected;
            std::vector<std::string> options = row.options;
            options.insert(options.end(), {"--video-password", "--source-address", "--xff"});
            for (auto const& option : options) {
                if (!text.empty() || option == "--netrc")
                    expected.push_back(option);
                if (!text.empty() && option != "--netrc")
                    expected.push_back(text);
            }
            EXPECT_EQ(builder.BuildOptionsArgs(), expected);
        }
        HVArgsBuilder builder;
        builder.SetDownloadCookiesOpitons(IHVDownloadCookies::MallocDownloadCookies(text));
        EXPECT_EQ(builder.BuildCookiesptions().back(), text.empty() ? "unknown" : text);
    }
}

} // namespace
} // namespace Halvorn

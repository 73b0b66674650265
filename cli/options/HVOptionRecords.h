#pragma once
// The library's option records, made as options ask for them: what is not asked for stays absent. Where no
// option says otherwise, certificates are checked and the user's configuration of the tool takes no part.

#include <Reelhaul/IHVAdobePassAuthentication.h>
#include <Reelhaul/IHVAuthenticationOptions.h>
#include <Reelhaul/IHVCertificateAuthentication.h>
#include <Reelhaul/IHVConversionOptions.h>
#include <Reelhaul/IHVDownloadCookies.h>
#include <Reelhaul/IHVDownloadOptions.h>
#include <Reelhaul/IHVError.h>
#include <Reelhaul/IHVGeneralAuthentication.h>
#include <Reelhaul/IHVGeneralOptions.h>
#include <Reelhaul/IHVGeoRestrictionOptions.h>
#include <Reelhaul/IHVNetrcAuthentication.h>
#include <Reelhaul/IHVNetworkOptions.h>

#include <memory>
#include <string>

namespace Halvorn {

class HVOptionRecords {
public:
    HVOptionRecords();

    IHVGeneralOptions& General() { return *general_; }
    IHVNetworkOptions& Network() { return *network_; }
    IHVGeoRestrictionOptions& Geo();
    IHVGeneralAuthentication& Login();
    IHVNetrcAuthentication& Netrc();
    IHVAdobePassAuthentication& Provider();
    IHVCertificateAuthentication& Certificate();
    IHVConversionOptions& Conversion();
    ///@{
    /// Keeps why the latest option was refused; empty where it was not.
    void Note(std::string fault) { fault_ = std::move(fault); }
    void Note(IHVError const& outcome) {
        Note(outcome.Succeed() ? std::string() : outcome.GetErrorMessage());
    }
    std::string const& Fault() const { return fault_; }
    ///@}
    void SetVideoPassword(std::string const& password) { videoPassword_ = password; }
    void SetCookies(std::shared_ptr<IHVDownloadCookies> cookies) { cookies_ = std::move(cookies); }

    /// All records in a bundle. Never empty.
    std::shared_ptr<IHVDownloadOptions> Bundle() const;

private:
    std::shared_ptr<IHVGeneralOptions> general_ = IHVGeneralOptions::MallocGeneralOptions();
    std::shared_ptr<IHVNetworkOptions> network_ = IHVNetworkOptions::MallocNetworkOptions();
    std::shared_ptr<IHVGeoRestrictionOptions> geo_;
    std::shared_ptr<IHVGeneralAuthentication> login_;
    std::shared_ptr<IHVNetrcAuthentication> netrc_;
    std::shared_ptr<IHVAdobePassAuthentication> provider_;
    std::shared_ptr<IHVCertificateAuthentication> certificate_;
    std::string videoPassword_;
    std::shared_ptr<IHVDownloadCookies> cookies_;
    std::shared_ptr<IHVConversionOptions> conversion_;
    std::string fault_;
};

} // namespace Halvorn

#include "HVOptionRecords.h"

namespace Halvorn {

namespace {

template <typename Record>
Record& Made(std::shared_ptr<Record>& record, std::shared_ptr<Record> (*make)()) {
    if (!record)
        record = make();
    return *record;
}

} // namespace

HVOptionRecords::HVOptionRecords() {
    general_->SetIgnoreToolConfiguration(true);
    network_->SetCheckCertificates(true);
}

IHVGeoRestrictionOptions& HVOptionRecords::Geo() {
    return Made<IHVGeoRestrictionOptions>(geo_, IHVGeoRestrictionOptions::MallocGeoRestrictionOptions);
}

IHVGeneralAuthentication& HVOptionRecords::Login() {
    return Made<IHVGeneralAuthentication>(login_, IHVGeneralAuthentication::MallocGeneralAuthentication);
}

IHVNetrcAuthentication& HVOptionRecords::Netrc() {
    return Made<IHVNetrcAuthentication>(netrc_, IHVNetrcAuthentication::MallocNetrcAuthentication);
}

IHVAdobePassAuthentication& HVOptionRecords::Provider() {
    return Made<IHVAdobePassAuthentication>(provider_,
                                            IHVAdobePassAuthentication::MallocAdobePassAuthentication);
}

IHVCertificateAuthentication& HVOptionRecords::Certificate() {
    return Made<IHVCertificateAuthentication>(certificate_,
                                              IHVCertificateAuthentication::MallocCertificateAuthentication);
}

IHVConversionOptions& HVOptionRecords::Conversion() {
    return Made<IHVConversionOptions>(conversion_, IHVConversionOptions::MallocConversionOptions);
}

std::shared_ptr<IHVDownloadOptions> HVOptionRecords::Bundle() const {
    bool const authentication = login_ || netrc_ || provider_ || certificate_ || !videoPassword_.empty();
    auto bundle = IHVDownloadOptions::MallocDownloadOptions();
    bundle->SetGeneralOptions(general_);
    bundle->SetNetworkOptions(network_);
    bundle->SetGeoRestrictionOptions(geo_);
    bundle->SetDownloadCookies(cookies_);
    bundle->SetConversionOptions(conversion_);
    if (authentication) {
        auto options = IHVAuthenticationOptions::MallocAuthenticationOptions();
        options->SetGeneralAuthentication(login_);
        options->SetNetrcAuthentication(netrc_);
        options->SetAdobePassAuthentication(provider_);
        options->SetCertificateAuthentication(certificate_);
        options->SetVideoPassword(videoPassword_);
        bundle->SetAuthenticationOptions(std::move(options));
    }
    return bundle;
}

} // namespace Halvorn

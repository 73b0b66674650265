#pragma once
// The implementation of IHVDownloadOptions.

#include "IHVDownloadOptions.h"

#include <utility>

namespace Halvorn {

class HVDownloadOptions final : public IHVDownloadOptions {
public:
    /// A deep copy; of nothing, a new bundle.
    explicit HVDownloadOptions(IHVDownloadOptions const* source);

    void SetGeneralOptions(std::shared_ptr<IHVGeneralOptions> options) override {
        general_ = std::move(options);
    }
    std::shared_ptr<IHVGeneralOptions const> GetGeneralOptions() const override { return general_; }
    void SetNetworkOptions(std::shared_ptr<IHVNetworkOptions> options) override {
        network_ = std::move(options);
    }
    std::shared_ptr<IHVNetworkOptions const> GetNetworkOptions() const override { return network_; }
    void SetAuthenticationOptions(std::shared_ptr<IHVAuthenticationOptions> options) override {
        authentication_ = std::move(options);
    }
    std::shared_ptr<IHVAuthenticationOptions const> GetAuthenticationOptions() const override {
        return authentication_;
    }
    void SetGeoRestrictionOptions(std::shared_ptr<IHVGeoRestrictionOptions> options) override {
        geoRestriction_ = std::move(options);
    }
    std::shared_ptr<IHVGeoRestrictionOptions const> GetGeoRestrictionOptions() const override {
        return geoRestriction_;
    }
    std::shared_ptr<IHVDownloadCookies const> GetDownloadCookies() const override { return cookies_; }
    void SetDownloadCookies(std::shared_ptr<IHVDownloadCookies> cookies) override {
        cookies_ = std::move(cookies);
    }
    std::shared_ptr<IHVDownloadOptions> Clone() const override;

    void SetConversion(std::shared_ptr<IHVConversionOptions> options) { conversion_ = std::move(options); }
    std::shared_ptr<IHVConversionOptions const> Conversion() const { return conversion_; }

private:
    std::shared_ptr<IHVGeneralOptions> general_;
    std::shared_ptr<IHVAuthenticationOptions> authentication_;
    std::shared_ptr<IHVNetworkOptions> network_;
    std::shared_ptr<IHVGeoRestrictionOptions> geoRestriction_;
    std::shared_ptr<IHVDownloadCookies> cookies_;
    std::shared_ptr<IHVConversionOptions> conversion_;
};

} // namespace Halvorn

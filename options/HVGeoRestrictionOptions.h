#pragma once
// The implementation of IHVGeoRestrictionOptions.

#include "IHVGeoRestrictionOptions.h"

namespace Halvorn {

class HVGeoRestrictionOptions final : public IHVGeoRestrictionOptions {
public:
    HVGeoRestrictionOptions() = default;
    /// Shares the proxy.
    HVGeoRestrictionOptions(std::shared_ptr<IHVProxy> proxy, std::string xForwardedFor);
    /// A copy; of nothing, a new record.
    explicit HVGeoRestrictionOptions(IHVGeoRestrictionOptions const* source);

    std::shared_ptr<IHVProxy> const& GetProxy() const override { return proxy_; }
    void SetProxy(std::shared_ptr<IHVProxy>& proxy) override;
    std::string const& GetXForwardedFor() const override { return xForwardedFor_; }
    void SetXForwardedFor(std::string const& value) override { xForwardedFor_ = value; }
    std::shared_ptr<IHVGeoRestrictionOptions> Clone() const override;

private:
    std::shared_ptr<IHVProxy> proxy_;
    std::string xForwardedFor_;
};

} // namespace Halvorn

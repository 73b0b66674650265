#include "HVGeoRestrictionOptions.h"

#include "IHVProxy.h"

#include <utility>

namespace Halvorn {

HVGeoRestrictionOptions::HVGeoRestrictionOptions(std::shared_ptr<IHVProxy> proxy, std::string xForwardedFor)
    : proxy_(std::move(proxy)), xForwardedFor_(std::move(xForwardedFor)) {}

HVGeoRestrictionOptions::HVGeoRestrictionOptions(IHVGeoRestrictionOptions const* source) {
    if (!source)
        return;
    if (source->GetProxy())
        proxy_ = source->GetProxy()->Clone();
    xForwardedFor_ = source->GetXForwardedFor();
}

void HVGeoRestrictionOptions::SetProxy(std::shared_ptr<IHVProxy>& proxy) {
    if (proxy)
        proxy_ = proxy->Clone();
}

std::shared_ptr<IHVGeoRestrictionOptions> HVGeoRestrictionOptions::Clone() const {
    return std::make_shared<HVGeoRestrictionOptions>(this);
}

std::shared_ptr<IHVGeoRestrictionOptions> IHVGeoRestrictionOptions::MallocGeoRestrictionOptions() {
    return std::make_shared<HVGeoRestrictionOptions>();
}

std::shared_ptr<IHVGeoRestrictionOptions>
IHVGeoRestrictionOptions::MallocGeoRestrictionOptions(std::shared_ptr<IHVProxy> proxy,
                                                      std::string const& xForwardedFor) {
    return std::make_shared<HVGeoRestrictionOptions>(std::move(proxy), xForwardedFor);
}

// Never destroyed, so that they hold until the very end of the process.
std::string const& IHVGeoRestrictionOptions::XForwardForValueDefault() {
    static auto const& value = *new std::string("default");
    return value;
}

std::string const& IHVGeoRestrictionOptions::XForwardForValueNever() {
    static auto const& value = *new std::string("never");
    return value;
}

bool IHVGeoRestrictionOptions::IsDefaultXFFValue() const {
    return GetXForwardedFor() == XForwardForValueDefault();
}

} // namespace Halvorn

#include "HVDownloadOptions.h"

#include "IHVAuthenticationOptions.h"
#include "IHVConversionOptions.h"
#include "IHVDownloadCookies.h"
#include "IHVGeneralOptions.h"
#include "IHVGeoRestrictionOptions.h"
#include "IHVNetworkOptions.h"

namespace Halvorn {

namespace {

template <typename Record>
std::shared_ptr<Record> CloneOf(std::shared_ptr<Record const> const& record) {
    return record ? record->Clone() : nullptr;
}

} // namespace

HVDownloadOptions::HVDownloadOptions(IHVDownloadOptions const* source) {
    if (!source)
        return;
    general_ = CloneOf(source->GetGeneralOptions());
    authentication_ = CloneOf(source->GetAuthenticationOptions());
    network_ = CloneOf(source->GetNetworkOptions());
    geoRestriction_ = CloneOf(source->GetGeoRestrictionOptions());
    cookies_ = CloneOf(source->GetDownloadCookies());
    conversion_ = CloneOf(source->GetConversionOptions());
}

std::shared_ptr<IHVDownloadOptions> HVDownloadOptions::Clone() const {
    return std::make_shared<HVDownloadOptions>(this);
}

std::shared_ptr<IHVDownloadOptions> IHVDownloadOptions::MallocDownloadOptions() {
    return std::make_shared<HVDownloadOptions>(nullptr);
}

} // namespace Halvorn

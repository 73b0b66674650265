#pragma once
/// \class Halvorn::IHVGeoRestrictionOptions
/// What the tool does about sites that serve some countries only.
///
/// Thread-safety: none; set the record up before it goes to a task or a controller, whose worker threads read
/// it. Ownership: shared pointers.

#include "HVExport.h"

#include <memory>
#include <string>

namespace Halvorn {

class IHVProxy;

class HV_EXPORT IHVGeoRestrictionOptions {
public:
    /// A record without proxy and value.
    static std::shared_ptr<IHVGeoRestrictionOptions> MallocGeoRestrictionOptions();
    /// A record that shares `proxy` with the caller, unlike SetProxy: later changes to it count.
    static std::shared_ptr<IHVGeoRestrictionOptions>
    MallocGeoRestrictionOptions(std::shared_ptr<IHVProxy> proxy, std::string const& xForwardedFor);

    /// "default": the tool decides; nothing is passed on to it.
    static std::string const& XForwardForValueDefault();
    /// "never": no forwarded address is pretended.
    static std::string const& XForwardForValueNever();

    /// The proxy that verifies the country, empty for none.
    virtual std::shared_ptr<IHVProxy> const& GetProxy() const = 0;
    ///@{
    /// Stores a copy: later changes to `proxy` don't reach the record. An empty pointer changes nothing.
    virtual void SetProxy(std::shared_ptr<IHVProxy>& proxy) = 0;
    virtual std::string const& GetXForwardedFor() const = 0;
    ///@}
    /// "default", "never", an address block, or a country's two-letter code. Empty means "default".
    virtual void SetXForwardedFor(std::string const& value) = 0;
    /// A record with the same value and a copy of the proxy.
    virtual std::shared_ptr<IHVGeoRestrictionOptions> Clone() const = 0;

    /// Whether the value is exactly "default"; false for the empty one.
    bool IsDefaultXFFValue() const;

protected:
    ~IHVGeoRestrictionOptions() = default;
};

} // namespace Halvorn

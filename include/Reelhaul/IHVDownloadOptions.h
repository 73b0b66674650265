#pragma once
/// \class Halvorn::IHVDownloadOptions
/// The bundle of everything that a run of the tool can be told: records, any of which may be absent.
///
/// **Without network options, and without a bundle, the certificates of https sites are not checked**, just
/// as with network options that don't ask for it: see IHVNetworkOptions. Each other record that is absent
/// leaves its matters to the tool and to the user's own configuration of it.
///
/// Thread-safety: none; set the bundle up before it goes to a task or a controller, whose worker threads read
/// it each time they build a command. Ownership: shared pointers; the bundle shares its records with the
/// application that set them.

#include "HVExport.h"

#include <memory>

namespace Halvorn {

class IHVAuthenticationOptions;
class IHVConversionOptions;
class IHVDownloadCookies;
class IHVGeneralOptions;
class IHVGeoRestrictionOptions;
class IHVNetworkOptions;

class HV_EXPORT IHVDownloadOptions {
public:
    /// A bundle with all records absent.
    static std::shared_ptr<IHVDownloadOptions> MallocDownloadOptions();

    ///@{
    /// One record, shared with the caller. An empty pointer makes it absent; the getter answers an empty
    /// pointer for an absent one.
    virtual void SetGeneralOptions(std::shared_ptr<IHVGeneralOptions> options) = 0;
    virtual std::shared_ptr<IHVGeneralOptions const> GetGeneralOptions() const = 0;
    virtual void SetNetworkOptions(std::shared_ptr<IHVNetworkOptions> options) = 0;
    virtual std::shared_ptr<IHVNetworkOptions const> GetNetworkOptions() const = 0;
    virtual void SetAuthenticationOptions(std::shared_ptr<IHVAuthenticationOptions> options) = 0;
    virtual std::shared_ptr<IHVAuthenticationOptions const> GetAuthenticationOptions() const = 0;
    virtual void SetGeoRestrictionOptions(std::shared_ptr<IHVGeoRestrictionOptions> options) = 0;
    virtual std::shared_ptr<IHVGeoRestrictionOptions const> GetGeoRestrictionOptions() const = 0;
    virtual std::shared_ptr<IHVDownloadCookies const> GetDownloadCookies() const = 0;
    virtual void SetDownloadCookies(std::shared_ptr<IHVDownloadCookies> cookies) = 0;
    ///@}
    /// A bundle with copies of all records that are there. **The copy does not check certificates** until its
    /// network options are told to, even where this one does: see IHVNetworkOptions::Clone.
    virtual std::shared_ptr<IHVDownloadOptions> Clone() const = 0;

    ///@{
    /// What a download is converted to, a sixth record, shared with the caller; Clone copies it as well. It
    /// plays no part in an analysis. A bundle of another implementation has none and stores none.
    void SetConversionOptions(std::shared_ptr<IHVConversionOptions> options);
    std::shared_ptr<IHVConversionOptions const> GetConversionOptions() const;
    ///@}

protected:
    ~IHVDownloadOptions() = default;
};

} // namespace Halvorn

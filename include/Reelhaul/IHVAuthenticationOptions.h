#pragma once
/// \class Halvorn::IHVAuthenticationOptions
/// How the tool logs in: one of four methods, and the password of a single protected video.
///
/// Where several methods are set, one is used: general before netrc before Adobe Pass before certificate,
/// even if the first of them holds nothing.
///
/// Thread-safety: none; set the record up before it goes to a task or a controller. Ownership: shared
/// pointers; the record keeps copies of the methods that are set.

#include "HVExport.h"

#include <memory>
#include <string>

namespace Halvorn {

class IHVAdobePassAuthentication;
class IHVCertificateAuthentication;
class IHVGeneralAuthentication;
class IHVNetrcAuthentication;

class HV_EXPORT IHVAuthenticationOptions {
public:
    /// A record with no method and no password.
    static std::shared_ptr<IHVAuthenticationOptions> MallocAuthenticationOptions();

    ///@{
    /// Password of a video that is protected by itself; independent of the methods.
    virtual void SetVideoPassword(std::string const& password) = 0;
    virtual std::string const& GetVideoPassword() const = 0;
    ///@}

    ///@{
    /// One method. The setter stores a copy, so that later changes to the argument don't count; an empty
    /// pointer clears the method. The getter answers the record's own object, empty when it is not set: a
    /// change made through it counts.
    virtual void SetAdobePassAuthentication(std::shared_ptr<IHVAdobePassAuthentication> method) = 0;
    virtual std::shared_ptr<IHVAdobePassAuthentication> GetAdobePassAuthentication() const = 0;
    virtual void SetCertificateAuthentication(std::shared_ptr<IHVCertificateAuthentication> method) = 0;
    virtual std::shared_ptr<IHVCertificateAuthentication> GetCertificateAuthentication() const = 0;
    virtual void SetGeneralAuthentication(std::shared_ptr<IHVGeneralAuthentication> method) = 0;
    virtual std::shared_ptr<IHVGeneralAuthentication> GetGeneralAuthentication() const = 0;
    virtual void SetNetrcAuthentication(std::shared_ptr<IHVNetrcAuthentication> method) = 0;
    virtual std::shared_ptr<IHVNetrcAuthentication> GetNetrcAuthentication() const = 0;
    ///@}
    /// A record of its own with the same password and copies of the methods.
    virtual std::shared_ptr<IHVAuthenticationOptions> Clone() const = 0;

protected:
    ~IHVAuthenticationOptions() = default;
};

} // namespace Halvorn

#pragma once
/// \class Halvorn::IHVGeneralAuthentication
/// A login by user name and password.
///
/// Thread-safety: none; set the record up before it goes to a task or a controller. Ownership: shared
/// pointers. The texts are kept in plain memory and not checked.

#include "HVExport.h"

#include <memory>
#include <string>

namespace Halvorn {

class HV_EXPORT IHVGeneralAuthentication {
public:
    /// A record with empty texts: nothing of it reaches the tool.
    static std::shared_ptr<IHVGeneralAuthentication> MallocGeneralAuthentication();
    /// A record with these texts; the two-factor code may be empty.
    static std::shared_ptr<IHVGeneralAuthentication>
    MallocGeneralAuthentication(std::string const& userName, std::string const& userPWD,
                                std::string const& twoFactorCode);

    ///@{
    /// The account. Without a user name nothing of this record reaches the tool.
    virtual std::string const& GetUserName() const = 0;
    virtual std::string const& GetUserPWD() const = 0;
    virtual std::string const& GetTwoFactorCode() const = 0;
    virtual void SetUserName(std::string const& userName) = 0;
    virtual void SetUserPWD(std::string const& userPWD) = 0;
    virtual void SetTwoFactorCode(std::string const& code) = 0;
    ///@}
    /// A record of its own with the same values.
    virtual std::shared_ptr<IHVGeneralAuthentication> Clone() const = 0;

protected:
    ~IHVGeneralAuthentication() = default;
};

} // namespace Halvorn

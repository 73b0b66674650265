#pragma once
/// \class Halvorn::IHVAdobePassAuthentication
/// A login through the user's TV provider, by Adobe Pass, and the table of supported providers.
///
/// Thread-safety: a record has none, so set it up before it goes to a task or a controller; the table is
/// constant and may be read from any thread. Ownership: shared pointers.

#include "HVExport.h"

#include <memory>
#include <string>

namespace Halvorn {

class HV_EXPORT IHVAdobePassAuthentication {
public:
    /// A record with empty texts: nothing of it reaches the tool.
    static std::shared_ptr<IHVAdobePassAuthentication> MallocAdobePassAuthentication();
    /// A record with the provider's id, and the account there.
    static std::shared_ptr<IHVAdobePassAuthentication>
    MallocAdobePassAuthentication(std::string const& multipleSystemOperator, std::string const& userName,
                                  std::string const& userPWD);

    /// Number of rows of the table: large providers first, then the others by name.
    static int GetSupportedMSOCount();
    /// Id of the row `index`; empty outside the table.
    static std::string GetSupprotedMSOID(int index);
    /// Display name of the row `index`; empty outside the table.
    static std::string GetSupportedMSOName(int index);
    /// Display name of the provider with exactly this id; empty when there is none.
    static std::string GetSupportedMSOName(std::string const& id);
    /// Id of the provider with exactly this display name; empty when there is none.
    static std::string GetSupportedMSOID(std::string const& name);

    ///@{
    /// The provider's id, and the account there. The id is not checked: the tool may know more providers than
    /// the table. A user name counts only beside a provider, a password only beside a user name.
    virtual std::string const& GetMultipleSystemOperator() const = 0;
    virtual std::string const& GetUserName() const = 0;
    virtual std::string const& GetUserPWD() const = 0;
    virtual void SetMultipleSystemOperator(std::string const& id) = 0;
    virtual void SetUserName(std::string const& userName) = 0;
    virtual void SetUserPWD(std::string const& userPWD) = 0;
    ///@}
    /// A record of its own with the same values.
    virtual std::shared_ptr<IHVAdobePassAuthentication> Clone() const = 0;

    /// Display name of this record's provider; empty when it is not in the table.
    std::string GetMultipleSystemOperatorName() const;

protected:
    ~IHVAdobePassAuthentication() = default;
};

} // namespace Halvorn

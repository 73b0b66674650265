#pragma once
// The implementation of IHVGeneralAuthentication.

#include "IHVGeneralAuthentication.h"

namespace Halvorn {

class HVGeneralAuthentication final : public IHVGeneralAuthentication {
public:
    HVGeneralAuthentication(std::string userName, std::string userPWD, std::string twoFactorCode);
    /// A copy; of nothing, an empty record.
    explicit HVGeneralAuthentication(IHVGeneralAuthentication const* source);

    std::string const& GetUserName() const override { return userName_; }
    std::string const& GetUserPWD() const override { return userPWD_; }
    std::string const& GetTwoFactorCode() const override { return twoFactorCode_; }
    void SetUserName(std::string const& userName) override { userName_ = userName; }
    void SetUserPWD(std::string const& userPWD) override { userPWD_ = userPWD; }
    void SetTwoFactorCode(std::string const& code) override { twoFactorCode_ = code; }
    std::shared_ptr<IHVGeneralAuthentication> Clone() const override;

private:
    std::string userName_;
    std::string userPWD_;
    std::string twoFactorCode_;
};

} // namespace Halvorn

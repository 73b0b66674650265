#include "HVGeneralAuthentication.h"

#include <utility>

namespace Halvorn {

HVGeneralAuthentication::HVGeneralAuthentication(std::string userName, std::string userPWD,
                                                 std::string twoFactorCode)
    : userName_(std::move(userName)), userPWD_(std::move(userPWD)), twoFactorCode_(std::move(twoFactorCode)) {
}

HVGeneralAuthentication::HVGeneralAuthentication(IHVGeneralAuthentication const* source) {
    if (!source)
        return;
    userName_ = source->GetUserName();
    userPWD_ = source->GetUserPWD();
    twoFactorCode_ = source->GetTwoFactorCode();
}

std::shared_ptr<IHVGeneralAuthentication> HVGeneralAuthentication::Clone() const {
    return std::make_shared<HVGeneralAuthentication>(this);
}

std::shared_ptr<IHVGeneralAuthentication> IHVGeneralAuthentication::MallocGeneralAuthentication() {
    return std::make_shared<HVGeneralAuthentication>(nullptr);
}

std::shared_ptr<IHVGeneralAuthentication>
IHVGeneralAuthentication::MallocGeneralAuthentication(std::string const& userName, std::string const& userPWD,
                                                      std::string const& twoFactorCode) {
    return std::make_shared<HVGeneralAuthentication>(userName, userPWD, twoFactorCode);
}

} // namespace Halvorn

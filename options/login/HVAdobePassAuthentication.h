#pragma once
// The implementation of IHVAdobePassAuthentication.

#include "IHVAdobePassAuthentication.h"

namespace Halvorn {

class HVAdobePassAuthentication final : public IHVAdobePassAuthentication {
public:
    HVAdobePassAuthentication(std::string multipleSystemOperator, std::string userName, std::string userPWD);
    /// A copy; of nothing, an empty record.
    explicit HVAdobePassAuthentication(IHVAdobePassAuthentication const* source);

    std::string const& GetMultipleSystemOperator() const override { return multipleSystemOperator_; }
    std::string const& GetUserName() const override { return userName_; }
    std::string const& GetUserPWD() const override { return userPWD_; }
    void SetMultipleSystemOperator(std::string const& id) override { multipleSystemOperator_ = id; }
    void SetUserName(std::string const& userName) override { userName_ = userName; }
    void SetUserPWD(std::string const& userPWD) override { userPWD_ = userPWD; }
    std::shared_ptr<IHVAdobePassAuthentication> Clone() const override;

private:
    std::string multipleSystemOperator_;
    std::string userName_;
    std::string userPWD_;
};

} // namespace Halvorn

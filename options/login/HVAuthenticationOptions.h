#pragma once
// The implementation of IHVAuthenticationOptions.

#include "IHVAuthenticationOptions.h"

namespace Halvorn {

class HVAuthenticationOptions final : public IHVAuthenticationOptions {
public:
    /// A deep copy; of nothing, a new record.
    explicit HVAuthenticationOptions(IHVAuthenticationOptions const* source);

    void SetVideoPassword(std::string const& password) override { videoPassword_ = password; }
    std::string const& GetVideoPassword() const override { return videoPassword_; }
    void SetAdobePassAuthentication(std::shared_ptr<IHVAdobePassAuthentication> method) override;
    std::shared_ptr<IHVAdobePassAuthentication> GetAdobePassAuthentication() const override {
        return adobePass_;
    }
    void SetCertificateAuthentication(std::shared_ptr<IHVCertificateAuthentication> method) override;
    std::shared_ptr<IHVCertificateAuthentication> GetCertificateAuthentication() const override {
        return certificate_;
    }
    void SetGeneralAuthentication(std::shared_ptr<IHVGeneralAuthentication> method) override;
    std::shared_ptr<IHVGeneralAuthentication> GetGeneralAuthentication() const override { return general_; }
    void SetNetrcAuthentication(std::shared_ptr<IHVNetrcAuthentication> method) override;
    std::shared_ptr<IHVNetrcAuthentication> GetNetrcAuthentication() const override { return netrc_; }
    std::shared_ptr<IHVAuthenticationOptions> Clone() const override;

private:
    std::shared_ptr<IHVAdobePassAuthentication> adobePass_;
    std::shared_ptr<IHVGeneralAuthentication> general_;
    std::shared_ptr<IHVCertificateAuthentication> certificate_;
    std::shared_ptr<IHVNetrcAuthentication> netrc_;
    std::string videoPassword_;
};

} // namespace Halvorn

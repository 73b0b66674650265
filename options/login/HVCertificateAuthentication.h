#pragma once
// The implementation of IHVCertificateAuthentication.

#include "IHVCertificateAuthentication.h"

namespace Halvorn {

class HVCertificateAuthentication final : public IHVCertificateAuthentication {
public:
    HVCertificateAuthentication(std::string certificateFile, std::string certificatePrivateKey,
                                std::string certificatePWD);
    /// A copy; of nothing, an empty record.
    explicit HVCertificateAuthentication(IHVCertificateAuthentication const* source);

    std::string const& GetCertificateFile() const override { return certificateFile_; }
    void SetCertificateFile(std::string const& file) override { certificateFile_ = file; }
    std::string const& GetCertificatePrivateKey() const override { return certificatePrivateKey_; }
    void SetCertificatePrivateKey(std::string const& file) override { certificatePrivateKey_ = file; }
    std::string const& GetCertificatePWD() const override { return certificatePWD_; }
    void SetCertificatePWD(std::string const& password) override { certificatePWD_ = password; }
    std::shared_ptr<IHVCertificateAuthentication> Clone() const override;

private:
    std::string certificateFile_;
    std::string certificatePrivateKey_;
    std::string certificatePWD_;
};

} // namespace Halvorn

#include "HVCertificateAuthentication.h"

#include <utility>

namespace Halvorn {

HVCertificateAuthentication::HVCertificateAuthentication(std::string certificateFile,
                                                         std::string certificatePrivateKey,
                                                         std::string certificatePWD)
    : certificateFile_(std::move(certificateFile)), certificatePrivateKey_(std::move(certificatePrivateKey)),
      certificatePWD_(std::move(certificatePWD)) {}

HVCertificateAuthentication::HVCertificateAuthentication(IHVCertificateAuthentication const* source) {
    if (!source)
        return;
    certificateFile_ = source->GetCertificateFile();
    certificatePrivateKey_ = source->GetCertificatePrivateKey();
    certificatePWD_ = source->GetCertificatePWD();
}

std::shared_ptr<IHVCertificateAuthentication> HVCertificateAuthentication::Clone() const {
    return std::make_shared<HVCertificateAuthentication>(this);
}

std::shared_ptr<IHVCertificateAuthentication>
IHVCertificateAuthentication::MallocCertificateAuthentication() {
    return std::make_shared<HVCertificateAuthentication>(nullptr);
}

std::shared_ptr<IHVCertificateAuthentication>
IHVCertificateAuthentication::MallocCertificateAuthentication(std::string const& certificateFile,
                                                              std::string const& certificatePrivateKey,
                                                              std::string const& certificatePWD) {
    return std::make_shared<HVCertificateAuthentication>(certificateFile, certificatePrivateKey,
                                                         certificatePWD);
}

} // namespace Halvorn

#pragma once
/// \class Halvorn::IHVCertificateAuthentication
/// A login by a client certificate.
///
/// Thread-safety: none; set the record up before it goes to a task or a controller. Ownership: shared
/// pointers.

#include "HVExport.h"

#include <memory>
#include <string>

namespace Halvorn {

class HV_EXPORT IHVCertificateAuthentication {
public:
    /// A record with empty texts: nothing of it reaches the tool.
    static std::shared_ptr<IHVCertificateAuthentication> MallocCertificateAuthentication();
    /// A record with the paths of the two files, and the key's password.
    static std::shared_ptr<IHVCertificateAuthentication>
    MallocCertificateAuthentication(std::string const& certificateFile,
                                    std::string const& certificatePrivateKey,
                                    std::string const& certificatePWD);

    ///@{
    /// Path of the certificate, in PEM form; may hold the private key as well.
    virtual std::string const& GetCertificateFile() const = 0;
    virtual void SetCertificateFile(std::string const& file) = 0;
    ///@}
    ///@{
    /// Path of the private key. Counts only beside a certificate.
    virtual std::string const& GetCertificatePrivateKey() const = 0;
    virtual void SetCertificatePrivateKey(std::string const& file) = 0;
    ///@}
    ///@{
    /// Password of the private key. Counts only beside a private key's path.
    virtual std::string const& GetCertificatePWD() const = 0;
    virtual void SetCertificatePWD(std::string const& password) = 0;
    ///@}
    /// A record of its own with the same values.
    virtual std::shared_ptr<IHVCertificateAuthentication> Clone() const = 0;

protected:
    ~IHVCertificateAuthentication() = default;
};

} // namespace Halvorn

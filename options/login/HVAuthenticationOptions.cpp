#include "HVAuthenticationOptions.h"

#include "IHVAdobePassAuthentication.h"
#include "IHVCertificateAuthentication.h"
#include "IHVGeneralAuthentication.h"
#include "IHVNetrcAuthentication.h"

namespace Halvorn {

namespace {

template <typename Method>
std::shared_ptr<Method> CloneOf(std::shared_ptr<Method> const& method) {
    return method ? method->Clone() : nullptr;
}

} // namespace

HVAuthenticationOptions::HVAuthenticationOptions(IHVAuthenticationOptions const* source) {
    if (!source)
        return;
    adobePass_ = CloneOf(source->GetAdobePassAuthentication());
    general_ = CloneOf(source->GetGeneralAuthentication());
    certificate_ = CloneOf(source->GetCertificateAuthentication());
    netrc_ = CloneOf(source->GetNetrcAuthentication());
    videoPassword_ = source->GetVideoPassword();
}

void HVAuthenticationOptions::SetAdobePassAuthentication(std::shared_ptr<IHVAdobePassAuthentication> method) {
    adobePass_ = CloneOf(method);
}

void HVAuthenticationOptions::SetCertificateAuthentication(
    std::shared_ptr<IHVCertificateAuthentication> method) {
    certificate_ = CloneOf(method);
}

void HVAuthenticationOptions::SetGeneralAuthentication(std::shared_ptr<IHVGeneralAuthentication> method) {
    general_ = CloneOf(method);
}

void HVAuthenticationOptions::SetNetrcAuthentication(std::shared_ptr<IHVNetrcAuthentication> method) {
    netrc_ = CloneOf(method);
}

std::shared_ptr<IHVAuthenticationOptions> HVAuthenticationOptions::Clone() const {
    return std::make_shared<HVAuthenticationOptions>(this);
}

std::shared_ptr<IHVAuthenticationOptions> IHVAuthenticationOptions::MallocAuthenticationOptions() {
    return std::make_shared<HVAuthenticationOptions>(nullptr);
}

} // namespace Halvorn

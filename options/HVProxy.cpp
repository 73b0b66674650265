#include "HVProxy.h"

#include "HVBorrowed.h"
#include "IHVLogConfig.h"

#include <utility>

namespace Halvorn {

const int IHVProxy::HVProxyNoPort = 0;

HVProxy::HVProxy(ProxyScheme scheme, std::string hostNameOrIP, int hostPort, std::string userName,
                 std::string userPWD)
    : scheme_(scheme), hostNameOrIP_(std::move(hostNameOrIP)), userName_(std::move(userName)),
      userPWD_(std::move(userPWD)), hostPort_(hostPort) {}

HVProxy::HVProxy(std::shared_ptr<IHVProxy const> const& source) {
    if (!source)
        return;
    scheme_ = source->GetProxyScheme();
    hostNameOrIP_ = source->GetHostNameOrIP();
    userName_ = source->GetUserName();
    userPWD_ = source->GetUserPWD();
    hostPort_ = source->GetHostPort();
}

std::string HVProxy::BuildProxyURL() const {
    auto const scheme = SchemeName();
    if (scheme.empty() || hostNameOrIP_.empty())
        return {};
    std::string url = scheme + "://";
    if (!userName_.empty())
        url += userName_ + ":" + userPWD_ + "@";
    url += hostNameOrIP_;
    if (hostPort_ != HVProxyNoPort)
        url += ":" + std::to_string(hostPort_);
    return url + "/";
}

std::shared_ptr<IHVProxy> HVProxy::Clone() const {
    return std::make_shared<HVProxy>(Borrowed<IHVProxy>(*this));
}

// Kept as it is known: applications test the result.
std::shared_ptr<IHVProxy> IHVProxy::MallocProxy() {
    return nullptr;
}

std::shared_ptr<IHVProxy> IHVProxy::MallocProxy(ProxyScheme scheme, std::string const& hostNameOrIP,
                                                int hostPort, std::string const& userName,
                                                std::string const& userPWD) {
    return std::make_shared<HVProxy>(scheme, hostNameOrIP, hostPort, userName, userPWD);
}

std::string IHVProxy::GetSchemeName(ProxyScheme scheme) {
    switch (scheme) {
    case ProxySchemeHttp:
        return "http";
    case ProxySchemeHttps:
        return "https";
    case ProxySchemeSocks5:
        return "socks5";
    }
    IHVLogConfig::Printf(IHVLogConfig::LogLevelError, "unknown proxy scheme %d\n", static_cast<int>(scheme));
    return {};
}

std::string IHVProxy::SchemeName() const {
    return GetSchemeName(GetProxyScheme());
}

} // namespace Halvorn

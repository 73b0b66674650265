#pragma once
// The implementation of IHVProxy.

#include "IHVProxy.h"

namespace Halvorn {

class HVProxy final : public IHVProxy {
public:
    HVProxy(ProxyScheme scheme, std::string hostNameOrIP, int hostPort, std::string userName,
            std::string userPWD);
    /// A copy; of nothing, a SOCKS5 proxy without a host.
    explicit HVProxy(std::shared_ptr<IHVProxy const> const& source);

    void SetProxyScheme(ProxyScheme scheme) override { scheme_ = scheme; }
    ProxyScheme GetProxyScheme() const override { return scheme_; }
    void SetHostNameOrIP(std::string const& hostNameOrIP) override { hostNameOrIP_ = hostNameOrIP; }
    std::string const& GetHostNameOrIP() const override { return hostNameOrIP_; }
    void SetHostPort(int hostPort) override { hostPort_ = hostPort; }
    int GetHostPort() const override { return hostPort_; }
    void SetUserName(std::string const& userName) override { userName_ = userName; }
    std::string const& GetUserName() const override { return userName_; }
    void SetUserPWD(std::string const& userPWD) override { userPWD_ = userPWD; }
    std::string const& GetUserPWD() const override { return userPWD_; }
    std::string BuildProxyURL() const override;
    std::shared_ptr<IHVProxy> Clone() const override;

private:
    ProxyScheme scheme_ = ProxySchemeSocks5;
    std::string hostNameOrIP_;
    std::string userName_;
    std::string userPWD_;
    int hostPort_ = HVProxyNoPort;
};

} // namespace Halvorn

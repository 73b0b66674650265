#pragma once
// The implementation of IHVNetworkOptions.

#include "IHVNetworkOptions.h"

namespace Halvorn {

class HVNetworkOptions final : public IHVNetworkOptions {
public:
    HVNetworkOptions() = default;
    /// A copy without the certificates flag; of nothing, a new record.
    explicit HVNetworkOptions(IHVNetworkOptions const* source);

    std::shared_ptr<IHVProxy> const& GetProxy() const override { return proxy_; }
    void SetProxy(std::shared_ptr<IHVProxy> const& proxy) override;
    void SetConnectionVia(ConnectionVia connectionVia) override { connectionVia_ = connectionVia; }
    ConnectionVia GetConnectionVia() const override { return connectionVia_; }
    void SetClientSideIPAddress(std::string const& address) override { clientSideIPAddress_ = address; }
    std::string const& GetClientSideIPAddress() const override { return clientSideIPAddress_; }
    void SetSocketTimeout(int seconds) override { socketTimeout_ = seconds; }
    int GetSocketTimeout() const override { return socketTimeout_; }
    std::shared_ptr<IHVNetworkOptions> Clone() const override;
    bool GetCheckCertificates() const override { return checkCertificates_; }
    void SetCheckCertificates(bool check) override { checkCertificates_ = check; }

    std::string userAgent;
    std::string referer;

private:
    std::shared_ptr<IHVProxy> proxy_;
    int socketTimeout_ = HVConnectionTimeOutUndefined;
    bool checkCertificates_ = false;
    std::string clientSideIPAddress_;
    ConnectionVia connectionVia_ = ConnectionViaAny;
};

} // namespace Halvorn

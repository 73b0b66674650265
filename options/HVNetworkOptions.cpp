#include "HVNetworkOptions.h"

#include "IHVProxy.h"

namespace Halvorn {

const int IHVNetworkOptions::HVConnectionTimeOutUndefined = -1;

// The certificates flag is left out on purpose: a caller that wants them checked says so on the copy.
HVNetworkOptions::HVNetworkOptions(IHVNetworkOptions const* source) {
    if (!source)
        return;
    HVNetworkOptions::SetProxy(source->GetProxy());
    socketTimeout_ = source->GetSocketTimeout();
    clientSideIPAddress_ = source->GetClientSideIPAddress();
    connectionVia_ = source->GetConnectionVia();
    userAgent = source->GetUserAgent();
    referer = source->GetReferer();
}

void HVNetworkOptions::SetProxy(std::shared_ptr<IHVProxy> const& proxy) {
    if (proxy)
        proxy_ = proxy->Clone();
}

std::shared_ptr<IHVNetworkOptions> HVNetworkOptions::Clone() const {
    return std::make_shared<HVNetworkOptions>(this);
}

void IHVNetworkOptions::SetUserAgent(std::string const& agent) {
    if (auto* const own = dynamic_cast<HVNetworkOptions*>(this))
        own->userAgent = agent;
}

std::string IHVNetworkOptions::GetUserAgent() const {
    auto const* const own = dynamic_cast<HVNetworkOptions const*>(this);
    return own == nullptr ? std::string() : own->userAgent;
}

void IHVNetworkOptions::SetReferer(std::string const& address) {
    if (auto* const own = dynamic_cast<HVNetworkOptions*>(this))
        own->referer = address;
}

std::string IHVNetworkOptions::GetReferer() const {
    auto const* const own = dynamic_cast<HVNetworkOptions const*>(this);
    return own == nullptr ? std::string() : own->referer;
}

std::shared_ptr<IHVNetworkOptions> IHVNetworkOptions::MallocNetworkOptions() {
    return std::make_shared<HVNetworkOptions>();
}

std::shared_ptr<IHVNetworkOptions>
IHVNetworkOptions::MallocNetworkOptions(std::shared_ptr<IHVProxy>, int, std::string const&, ConnectionVia) {
    return std::make_shared<HVNetworkOptions>();
}

} // namespace Halvorn

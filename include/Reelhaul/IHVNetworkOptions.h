#pragma once
/// \class Halvorn::IHVNetworkOptions
/// How the tool reaches the network.
///
/// **The certificates of https sites are not checked** unless the record asks for it by SetCheckCertificates:
/// anybody on the way can then pose as the site, read passwords and cookies, and change what is downloaded.
/// That is so as well where there is no record, or no bundle. An application that logs in anywhere should ask
/// for the check; the command `reelhaul` does so unless told otherwise.
///
/// Thread-safety: none; set the record up before it goes to a task or a controller, whose worker threads read
/// it. Ownership: shared pointers.

#include "HVExport.h"

#include <cstdint>
#include <memory>
#include <string>

namespace Halvorn {

class IHVProxy;

class HV_EXPORT IHVNetworkOptions {
public:
    /// Which protocol connections are made by. A value outside the list means any.
    enum ConnectionVia : std::int32_t { ConnectionViaAny = 0, ConnectionViaIPv4 = 1, ConnectionViaIPv6 = 2 };

    /// As a time-out: the tool's own default. -1.
    static const int HVConnectionTimeOutUndefined;

    /// A record with no proxy, no time-out, any protocol; certificates are not checked.
    static std::shared_ptr<IHVNetworkOptions> MallocNetworkOptions();
    /// The same record: the arguments are disregarded. Set values by the setters.
    static std::shared_ptr<IHVNetworkOptions> MallocNetworkOptions(std::shared_ptr<IHVProxy> proxy,
                                                                   int socketTimeout,
                                                                   std::string const& clientSideIPAddress,
                                                                   ConnectionVia connectionVia);

    /// The record's own proxy, empty for none.
    virtual std::shared_ptr<IHVProxy> const& GetProxy() const = 0;
    ///@{
    /// Stores a copy: later changes to `proxy` don't reach the record. An empty pointer changes nothing.
    virtual void SetProxy(std::shared_ptr<IHVProxy> const& proxy) = 0;
    virtual void SetConnectionVia(ConnectionVia connectionVia) = 0;
    virtual ConnectionVia GetConnectionVia() const = 0;
    ///@}
    ///@{
    /// Address of this machine that connections are made from; empty for any.
    virtual void SetClientSideIPAddress(std::string const& address) = 0;
    virtual std::string const& GetClientSideIPAddress() const = 0;
    ///@}
    ///@{
    /// In seconds, HVConnectionTimeOutUndefined for the tool's default. Not checked.
    virtual void SetSocketTimeout(int seconds) = 0;
    virtual int GetSocketTimeout() const = 0;
    ///@}
    /// A record with the same values and a copy of the proxy, **but for the certificates flag**: that starts
    /// as false, whatever it is here, and has to be set again.
    virtual std::shared_ptr<IHVNetworkOptions> Clone() const = 0;
    ///@{
    /// Whether the certificates of https sites are checked. False in a new record.
    virtual bool GetCheckCertificates() const = 0;
    virtual void SetCheckCertificates(bool check) = 0;
    ///@}

    ///@{
    /// What the tool calls itself to sites, and the page that it says to come from; empty for its own words.
    /// They go with each request of the tool, to the page, its media and its pictures. A record of another
    /// implementation answers an empty text and stores nothing.
    void SetUserAgent(std::string const& agent);
    std::string GetUserAgent() const;
    void SetReferer(std::string const& address);
    std::string GetReferer() const;
    ///@}

protected:
    ~IHVNetworkOptions() = default;
};

} // namespace Halvorn

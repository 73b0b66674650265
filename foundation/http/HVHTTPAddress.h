#pragma once
// Which addresses are asked for at all.

#include <string>

namespace Halvorn {

struct HVHTTPAddress {
    std::string url; ///< as the request uses it; empty when the address is refused
    bool secure = false;
    bool loopback = false;
    std::string refusal; ///< why, for a user
};

/// Takes https, and plain http on loopback, which never leaves this machine; with `plain` from any host.
HVHTTPAddress CheckHTTPAddress(std::string const& url, bool plain = false);
/// The host of an address of any kind, in small letters; empty where it names none.
std::string HostOfAddress(std::string const& url);

} // namespace Halvorn

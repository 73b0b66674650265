#include "HVProxyText.h"

#include "HVChoice.h"

#include <algorithm>
#include <array>

namespace Halvorn {

namespace {

constexpr int kHighestPort = 65535;

/// Takes what stands in front of `separator` off `text`; all of it where there is none.
std::string_view TakeUpTo(std::string_view& text, std::string_view separator) {
    auto const end = text.find(separator);
    std::string_view const front = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + separator.size());
    return front;
}

bool ReadScheme(std::string_view name, IHVProxy::ProxyScheme& scheme) {
    for (auto const known :
         std::array{IHVProxy::ProxySchemeHttp, IHVProxy::ProxySchemeHttps, IHVProxy::ProxySchemeSocks5}) {
        if (name == IHVProxy::GetSchemeName(known)) {
            scheme = known;
            return true;
        }
    }
    return false;
}

/// Host and port of "host", "host:port", "[v6]" and "[v6]:port".
bool ReadHost(std::string_view text, std::string_view& host, int& port, std::string& fault) {
    auto const bracket = text.starts_with('[') ? text.find(']') : std::string_view::npos;
    std::size_t const end =
        bracket != std::string_view::npos ? bracket + 1 : std::min(text.find(':'), text.size());
    host = text.substr(0, end);
    std::string_view rest = text.substr(end);
    port = IHVProxy::HVProxyNoPort;
    if (host.empty() || host == "[]" || (text.starts_with('[') && bracket == std::string_view::npos)) {
        fault = "the host is missing";
        return false;
    }
    if (rest.empty())
        return true;
    rest.remove_prefix(1);
    auto const number = WholeNumber(rest);
    if (text[end] != ':' || !number || *number < 1 || *number > kHighestPort) {
        fault = "the port must be a number from 1 to 65535 (an IPv6 address stands in brackets)";
        return false;
    }
    port = *number;
    return true;
}

} // namespace

std::shared_ptr<IHVProxy> ReadProxy(std::string_view address, std::string& fault) {
    if (std::any_of(address.begin(), address.end(),
                    [](char c) { return static_cast<unsigned char>(c) <= ' ' || c == 0x7F; })) {
        fault = "the address holds a blank or a control character";
        return {};
    }
    IHVProxy::ProxyScheme scheme{};
    if (address.find("://") == std::string_view::npos || !ReadScheme(TakeUpTo(address, "://"), scheme)) {
        fault = "the address must begin with http://, https:// or socks5://";
        return {};
    }
    std::string_view user;
    std::string_view password;
    // A password may hold an "@", a host can't.
    if (auto const at = address.rfind('@'); at != std::string_view::npos) {
        password = address.substr(0, at);
        user = TakeUpTo(password, ":");
        address.remove_prefix(at + 1);
        if (user.empty()) {
            fault = "the user name is missing in front of \"@\"";
            return {};
        }
        // The tool would take the host to end there, and show a piece of the password in its complaint.
        constexpr char const* kEnds = "/?#[]\\";
        if (user.find_first_of(kEnds) != std::string_view::npos ||
            password.find_first_of(kEnds) != std::string_view::npos) {
            fault = "in a user name or password, / ? # [ ] \\ stand as %2F %3F %23 %5B %5D %5C";
            return {};
        }
    }
    if (address.ends_with('/'))
        address.remove_suffix(1);
    if (address.find_first_of("/?#") != std::string_view::npos) {
        fault = "nothing may follow the host and its port";
        return {};
    }
    std::string_view host;
    int port = 0;
    if (!ReadHost(address, host, port, fault))
        return {};
    return IHVProxy::MallocProxy(scheme, std::string(host), port, std::string(user), std::string(password));
}

} // namespace Halvorn

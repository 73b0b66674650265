#pragma once
// How a resource of a site is asked for: by the headers, the proxy, the cookies and the certificates that an
// application has chosen for the site.

#include <string>
#include <utility>
#include <vector>

namespace Halvorn {

using HVHTTPHeaders = std::vector<std::pair<std::string, std::string>>;

struct HVHTTPTerms {
    /// Those that would change how the answer comes, or hold cookies, are left out; a redirect to another
    /// host gets the first host's user agent alone.
    HVHTTPHeaders headers;
    std::string proxy;             ///< its address; empty for that of the environment
    std::string cookiesFile;       ///< in the form that browsers write; it is only read
    bool checkCertificates = true; ///< of https sites
    std::string certificate;       ///< path of the client's own one, in PEM form; for the first host alone
    std::string certificateKey;    ///< path of its key; empty where that stands in the same file
    std::string certificatePassword;
    std::string localAddress; ///< that connections are made from; empty for any
    int ipVersion = 0;        ///< 4 or 6; 0 for any
    int connectSeconds = 0;   ///< 0 for the usual time
};

} // namespace Halvorn

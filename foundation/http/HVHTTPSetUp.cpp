#include "HVHTTPSetUp.h"

#include "IHVStringHelper.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>

namespace Halvorn {

namespace {

using namespace std::string_view_literals;

/// The bytes have to come as they are, and cookies go to the hosts that they belong to.
constexpr std::array kNotSent = {
    "accept-encoding"sv,   "connection"sv, "content-length"sv, "cookie"sv, "host"sv, "range"sv,
    "transfer-encoding"sv, "te"sv};

bool MayBeSent(std::string const& name, std::string const& value, bool firstHost) {
    std::string const small = IHVStringHelper::ToLower(name);
    // A header is one line: what else stood behind a line end would be a header, or a request, of its own.
    auto const oneLine = [](std::string const& text) {
        return text.find_first_of("\r\n"sv) == std::string::npos && text.find('\0') == std::string::npos;
    };
    if (name.empty() || name.find(':') != std::string::npos || !oneLine(name) || !oneLine(value) ||
        std::find(kNotSent.begin(), kNotSent.end(), small) != kNotSent.end())
        return false;
    return firstHost || small == "user-agent";
}

void SetText(CURL* easy, CURLoption option, std::string const& text) {
    if (!text.empty())
        curl_easy_setopt(easy, option, text.c_str());
}

/// The tool has the proxy look names up.
std::string ProxyAddress(std::string const& proxy) {
    constexpr std::string_view kLocalNames = "socks5://";
    return proxy.starts_with(kLocalNames) ? "socks5h://" + proxy.substr(kLocalNames.size()) : proxy;
}

void SetProxy(CURL* easy, std::string const& proxy) {
    if (proxy.empty())
        return;
    curl_easy_setopt(easy, CURLOPT_PROXY, ProxyAddress(proxy).c_str());
    curl_easy_setopt(easy, CURLOPT_NOPROXY, "");
}

} // namespace

void SetEnvironmentCertificates(CURL* easy) {
    if (char const* const file = std::getenv("SSL_CERT_FILE"); file != nullptr && *file != '\0')
        curl_easy_setopt(easy, CURLOPT_CAINFO, file);
    if (char const* const folder = std::getenv("SSL_CERT_DIR"); folder != nullptr && *folder != '\0')
        curl_easy_setopt(easy, CURLOPT_CAPATH, folder);
}

HVHeaderList SetTerms(CURL* easy, HVHTTPTerms const& terms, bool firstHost) {
    SetProxy(easy, terms.proxy);
    SetText(easy, CURLOPT_COOKIEFILE, terms.cookiesFile);
    if (!terms.checkCertificates) {
        curl_easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, 0L);
        curl_easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, 0L);
    }
    if (firstHost && !terms.certificate.empty()) {
        SetText(easy, CURLOPT_SSLCERT, terms.certificate);
        SetText(easy, CURLOPT_SSLKEY,
                terms.certificateKey.empty() ? terms.certificate : terms.certificateKey);
        SetText(easy, CURLOPT_KEYPASSWD, terms.certificatePassword);
    }
    if (!terms.localAddress.empty())
        curl_easy_setopt(easy, CURLOPT_INTERFACE, ("host!" + terms.localAddress).c_str());
    if (terms.ipVersion != 0)
        curl_easy_setopt(easy, CURLOPT_IPRESOLVE,
                         terms.ipVersion == 4 ? CURL_IPRESOLVE_V4 : CURL_IPRESOLVE_V6);
    if (terms.connectSeconds > 0)
        curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT, static_cast<long>(terms.connectSeconds));
    HVHeaderList list;
    for (auto const& [name, value] : terms.headers) {
        if (!MayBeSent(name, value, firstHost))
            continue;
        // An empty value is written with a semicolon; a colon would take the header away.
        std::string line = name;
        line += value.empty() ? ";" : ": " + value;
        if (curl_slist* const longer = curl_slist_append(list.get(), line.c_str()); longer != nullptr) {
            static_cast<void>(list.release()); // the same list, by its head
            list.reset(longer);
        }
    }
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, list.get());
    return list;
}

} // namespace Halvorn

#include "HVHTTPAddress.h"

#include "HVMaskedArguments.h"
#include "IHVStringHelper.h"

#include <memory>

#include <curl/curl.h>

namespace Halvorn {

namespace {

struct UrlDeleter {
    void operator()(CURLU* url) const { curl_url_cleanup(url); }
};

std::string Part(CURLU* url, CURLUPart part) {
    char* text = nullptr;
    std::string result;
    if (curl_url_get(url, part, &text, 0) == CURLUE_OK && text != nullptr)
        result = text;
    curl_free(text);
    return result;
}

bool IsLoopback(std::string const& host) {
    if (host == "localhost" || host == "[::1]")
        return true;
    return host.compare(0, 4, "127.") == 0 && host.find_first_not_of("0123456789.") == std::string::npos;
}

using Url = std::unique_ptr<CURLU, UrlDeleter>;

/// Empty where it is no address.
Url Parse(std::string const& url, unsigned int flags) {
    Url parsed(curl_url());
    if (parsed != nullptr && curl_url_set(parsed.get(), CURLUPART_URL, url.c_str(), flags) != CURLUE_OK)
        parsed.reset();
    return parsed;
}

} // namespace

HVHTTPAddress CheckHTTPAddress(std::string const& url, bool plain) {
    HVHTTPAddress result;
    Url const parsed = Parse(url, 0);
    if (parsed == nullptr) {
        result.refusal = "\"" + MaskedAddress(url) + "\" is no web address";
        return result;
    }
    std::string const scheme = Part(parsed.get(), CURLUPART_SCHEME);
    result.secure = scheme == "https";
    result.loopback = IsLoopback(Part(parsed.get(), CURLUPART_HOST));
    if (result.secure || (scheme == "http" && (result.loopback || plain)))
        result.url = Part(parsed.get(), CURLUPART_URL);
    else
        result.refusal = "\"" + MaskedAddress(url) + "\" is refused: only https is safe";
    return result;
}

std::string HostOfAddress(std::string const& url) {
    Url const parsed = Parse(url, CURLU_NON_SUPPORT_SCHEME);
    return parsed == nullptr ? std::string() : IHVStringHelper::ToLower(Part(parsed.get(), CURLUPART_HOST));
}

} // namespace Halvorn

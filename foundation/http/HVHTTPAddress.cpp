#include "HVHTTPAddress.h"

#include "HVMaskedArguments.h"

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

} // namespace

HVHTTPAddress CheckHTTPAddress(std::string const& url) {
    HVHTTPAddress result;
    std::unique_ptr<CURLU, UrlDeleter> const parsed(curl_url());
    if (parsed == nullptr || curl_url_set(parsed.get(), CURLUPART_URL, url.c_str(), 0) != CURLUE_OK) {
        result.refusal = "\"" + MaskedAddress(url) + "\" is no web address";
        return result;
    }
    std::string const scheme = Part(parsed.get(), CURLUPART_SCHEME);
    result.secure = scheme == "https";
    result.loopback = IsLoopback(Part(parsed.get(), CURLUPART_HOST));
    if (result.secure || (scheme == "http" && result.loopback))
        result.url = Part(parsed.get(), CURLUPART_URL);
    else
        result.refusal = "\"" + MaskedAddress(url) + "\" is refused: only https is safe";
    return result;
}

} // namespace Halvorn

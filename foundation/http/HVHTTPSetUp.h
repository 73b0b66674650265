#pragma once
// What a transfer is told of the terms of its request. One thread at a time.

#include "HVHTTPTerms.h"

#include <memory>
#include <string>

#include <curl/curl.h>

namespace Halvorn {

struct HVHeaderListDeleter {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using HVHeaderList = std::unique_ptr<curl_slist, HVHeaderListDeleter>;

/// The certificates that the environment names, as other programs take them too.
void SetEnvironmentCertificates(CURL* easy);
/// Tells the transfer the terms, which must live as long as it; so must the list that is returned.
/// `firstHost` is false behind a redirect to another host.
HVHeaderList SetTerms(CURL* easy, HVHTTPTerms const& terms, bool firstHost);

} // namespace Halvorn

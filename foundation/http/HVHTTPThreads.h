#pragma once
// The requests under way, so that the end of the process can stop them before what they use is taken down.

#include <curl/curl.h>

namespace Halvorn {

/// Makes a request stoppable for as long as the object lives.
class HVHTTPStopScope {
public:
    explicit HVHTTPStopScope(CURLM* multi);
    HVHTTPStopScope(HVHTTPStopScope const&) = delete;
    HVHTTPStopScope& operator=(HVHTTPStopScope const&) = delete;
    ~HVHTTPStopScope();

private:
    CURLM* multi_;
};

/// True once the process has begun to end.
bool HTTPStopping();

/// Prepares the library that does the work; once for the process.
void PrepareHTTP();

} // namespace Halvorn

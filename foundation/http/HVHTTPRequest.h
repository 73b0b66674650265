#pragma once
// One HTTP request, from the first address through its redirects to the end of the body.

#include <functional>
#include <string>
#include <string_view>

namespace Halvorn {

struct HVHTTPRequest {
    std::string url;
    int timeout = 0; ///< seconds for the whole, 0 for no limit
    /// Gets the body in pieces. What it returns, unless empty, ends the request as its failure.
    std::function<std::string(std::string_view bytes)> sink;
};

/// Blocks until the request has ended: empty, or the reason of the failure in words for a user.
std::string PerformHTTPRequest(HVHTTPRequest const& request);

/// Runs the function on a thread of its own, which the end of the process waits for, though not for long; on
/// the caller's when no thread can be had. False then.
bool RunHTTPThread(std::function<void()> function);

} // namespace Halvorn

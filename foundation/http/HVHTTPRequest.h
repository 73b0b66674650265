#pragma once
// One HTTP request, from the first address through its redirects to the end of the body.

#include "HVHTTPTerms.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

namespace Halvorn {

/// Ends a request from another thread. Thread-safe; serves one request.
class HVHTTPCancel {
public:
    /// Has the request fail at once, or as soon as it begins.
    void Request();
    bool Requested() const { return requested_; }
    /// What wakes the request up, while it has one; empty for none.
    void SetWaker(std::function<void()> waker);

private:
    std::atomic<bool> requested_ = false;
    std::mutex mutex_; // held while the waker is called: it must not outlive what it wakes
    std::function<void()> waker_;
};

struct HVHTTPRequest {
    std::string url;
    int timeout = 0; ///< seconds for the whole, 0 for no limit
    /// Gets the body in pieces. What it returns, unless empty, ends the request as its failure.
    std::function<std::string(std::string_view bytes)> sink;
    /// For a resource of a site, which may come by plain http; null for the library's own requests.
    HVHTTPTerms const* terms = nullptr;
    std::shared_ptr<HVHTTPCancel> cancel = nullptr; ///< may be empty
};

/// Blocks until the request has ended: empty, or the reason of the failure in words for a user.
std::string PerformHTTPRequest(HVHTTPRequest const& request);

/// Runs the function on a thread of its own, which the end of the process waits for, though not for long; on
/// the caller's when no thread can be had. False then.
bool RunHTTPThread(std::function<void()> function);

} // namespace Halvorn

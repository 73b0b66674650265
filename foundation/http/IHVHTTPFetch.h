#pragma once
// Reads a resource into memory over HTTP.
//
// Only https, its certificate checked, and plain http on loopback; redirects by the same rule, and never from
// https to http. The proxy variables of the environment hold. Thread-safety: any operation from any thread.

#include "IHVData.h"
#include "IHVError.h"

#include <functional>
#include <memory>
#include <string>

namespace Halvorn {

enum class HTTPFetchMethod {
    Get = 0 ///< a plain read
};

class IHVHTTPFetch {
public:
    using Done = std::function<void(std::shared_ptr<IHVData const>, std::shared_ptr<IHVError const>)>;

    /// Starts the request and returns at once; the result tells whether it started. `done` is called exactly
    /// once whatever happens, on a thread of the request's own (on the caller's when there can be none), with
    /// the body, or with an empty pointer and the reason: a status other than 2xx, a body above 64 MiB, a
    /// fault of the network, or the end of `timeout` seconds (0 for no limit). At the end of the process a
    /// request under way fails.
    static std::shared_ptr<IHVError const> DetachHTTPFetch(std::string const& url, Done done,
                                                           HTTPFetchMethod method, int timeout);
};

} // namespace Halvorn

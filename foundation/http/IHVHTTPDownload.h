#pragma once
// Reads a resource into a file over HTTP, by the rules of IHVHTTPFetch.
//
// Thread-safety: any operation from any thread.

#include "IHVError.h"

#include <functional>
#include <memory>
#include <string>

namespace Halvorn {

class IHVHTTPDownload {
public:
    using Done = std::function<void(std::shared_ptr<IHVError const>)>;

    /// Starts the request and returns at once; the result tells whether it started. The file gets its name,
    /// in the place of an older one, only when it is whole and on the disk; after a failure nothing is left
    /// of it. `done` is called exactly once whatever happens, on a thread of the request's own (on the
    /// caller's when there can be none). `timeout` is in seconds, 0 for no limit. At the end of the process a
    /// request under way fails.
    static std::shared_ptr<IHVError const>
    DetachHTTPDownload(std::string const& url, std::string const& pathFile, Done done, int timeout);
};

} // namespace Halvorn

#include "HVHTTPRequest.h"
#include "HVMaskedArguments.h"
#include "IHVHTTPFetch.h"

#include <exception>
#include <utility>

namespace Halvorn {

namespace {

constexpr std::size_t kMaxBodyBytes = 64U << 20;

std::shared_ptr<IHVError const> Failure(std::string const& url, std::string const& reason) {
    std::string const message = "Can't read \"" + MaskedAddress(url) + "\": " + reason + ".";
    return IHVError::MallocError("HVHTTPFetch", __LINE__, "DetachHTTPFetch", -1, "Error", message.c_str());
}

void Fetch(std::string const& url, int timeout, IHVHTTPFetch::Done const& done) {
    std::string body;
    std::string failure;
    try {
        failure = PerformHTTPRequest({url, timeout, [&body](std::string_view bytes) -> std::string {
                                          if (bytes.size() > kMaxBodyBytes - body.size())
                                              return "the answer is too long";
                                          body.append(bytes);
                                          return {};
                                      }});
    } catch (std::exception const& error) {
        failure = error.what();
    }
    if (!failure.empty())
        done(nullptr, Failure(url, failure));
    else
        done(IHVData::MallocData(std::move(body)),
             IHVError::MallocSucceed("HVHTTPFetch", __LINE__, "DetachHTTPFetch"));
}

} // namespace

std::shared_ptr<IHVError const> IHVHTTPFetch::DetachHTTPFetch(std::string const& url, Done done,
                                                              HTTPFetchMethod /*method*/, int timeout) {
    if (!done)
        return Failure(url, "no function is given to report to");
    if (!RunHTTPThread([url, timeout, done = std::move(done)] { Fetch(url, timeout, done); }))
        return Failure(url, "there was no thread for it");
    return IHVError::MallocSucceed("HVHTTPFetch", __LINE__, "DetachHTTPFetch");
}

} // namespace Halvorn

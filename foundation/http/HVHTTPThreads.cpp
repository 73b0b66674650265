#include "HVHTTPThreads.h"

#include "HVHTTPRequest.h"
#include "HVPerProcess.h"
#include "IHVThread.h"

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <set>
#include <utility>

namespace Halvorn {

namespace {

constexpr std::chrono::seconds kEndPatience(2);

/// The end of a forked copy must not wait for its parent's threads.
struct Requests {
    std::mutex mutex;
    std::condition_variable changed;
    std::set<CURLM*> running;
    int threads = 0;
    bool stopping = false;

    static Requests& Shared() { return HVPerProcess<Requests>::Shared(); }
    void Count(int step) {
        std::lock_guard const lock(mutex);
        threads += step;
        changed.notify_all();
    }
};

/// A handshake must not run on while the TLS library is being taken down by an exit handler of its own.
void StopRequests() {
    auto& requests = Requests::Shared();
    std::unique_lock lock(requests.mutex);
    requests.stopping = true;
    for (CURLM* const multi : requests.running)
        curl_multi_wakeup(multi);
    requests.changed.wait_for(lock, kEndPatience,
                              [&] { return requests.threads == 0 && requests.running.empty(); });
}

} // namespace

HVHTTPStopScope::HVHTTPStopScope(CURLM* multi) : multi_(multi) {
    auto& requests = Requests::Shared();
    std::lock_guard const lock(requests.mutex);
    requests.running.insert(multi_);
}

HVHTTPStopScope::~HVHTTPStopScope() {
    auto& requests = Requests::Shared();
    std::lock_guard const lock(requests.mutex);
    requests.running.erase(multi_);
    requests.changed.notify_all();
}

bool HTTPStopping() {
    auto& requests = Requests::Shared();
    std::lock_guard const lock(requests.mutex);
    return requests.stopping;
}

void PrepareHTTP() {
    // Exit handlers run in reverse order, so ours comes before those of the libraries underneath.
    static bool const prepared = [] {
        return curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK && std::atexit(StopRequests) == 0;
    }();
    static_cast<void>(prepared);
}

bool RunHTTPThread(std::function<void()> function) {
    PrepareHTTP();
    auto& requests = Requests::Shared();
    requests.Count(1);
    auto const shared = std::make_shared<std::function<void()>>(std::move(function));
    // However the function ends, the count goes down, and after what it captured is gone.
    struct Counted {
        std::shared_ptr<std::function<void()>> function;
        ~Counted() {
            function.reset();
            Requests::Shared().Count(-1);
        }
    };
    auto counted = std::make_shared<Counted>();
    counted->function = shared;
    auto const thread = IHVThread::MallocThread([counted] { (*counted->function)(); });
    counted.reset();
    if (thread->Start()->Succeed())
        return true;
    (*shared)();
    return false;
}

} // namespace Halvorn

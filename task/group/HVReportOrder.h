#pragma once
// Reports of several sources in the order of the sources: what a later one reports is held until all before
// it are closed. The thread that finds nobody reporting runs what is due, and no lock is held meanwhile; so a
// report may add to any source. Thread-safe.

#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <mutex>

namespace Halvorn {

class HVReportOrder {
public:
    using Source = std::size_t;

    /// A source behind all others.
    Source Add();
    void Post(Source source, std::function<void()> report);
    /// Nothing is posted to it any more.
    void Close(Source source);

private:
    struct Held {
        std::deque<std::function<void()>> reports;
        bool closed = false;
    };

    void RunDue(std::unique_lock<std::mutex> lock);
    std::function<void()> NextDue();

    std::mutex mutex_; // guards what follows
    std::map<Source, Held> sources_;
    Source next_ = 0;
    bool running_ = false;
};

} // namespace Halvorn

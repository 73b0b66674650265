#pragma once
// The wish that runs of the tool end: one for a task, looked at and attached to by each of its runs.
//
// Thread-safe. The owner keeps it alive for as long as a run is attached.

#include <atomic>
#include <functional>
#include <list>
#include <mutex>

namespace Halvorn {

class HVToolStop {
public:
    /// Ends the runs that are attached, at once, and has the flag set for those that follow.
    void Request();
    bool Requested() const { return requested_; }
    /// For a new start: earlier requests are forgotten.
    void Clear() { requested_ = false; }

    /// Has a request call `end`, on the requesting thread, for as long as the object lives; a call that has
    /// begun may outlast it.
    class Attachment {
    public:
        Attachment(HVToolStop* stop, std::function<void()> end);
        ~Attachment();
        Attachment(Attachment const&) = delete;
        Attachment& operator=(Attachment const&) = delete;

    private:
        HVToolStop* const stop_; ///< null where nothing can be asked for
        std::list<std::function<void()>>::iterator place_;
    };

private:
    std::atomic<bool> requested_ = false;
    std::mutex mutex_; // guards the list
    std::list<std::function<void()>> ends_;
};

} // namespace Halvorn

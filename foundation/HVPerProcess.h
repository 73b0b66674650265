#pragma once
// One object for the process, and another one for each forked copy of it: the copy has none of its parent's
// threads, and would find a lock or a count of theirs as it was for ever. Thread-safe.

#include "HVProcessEnd.h"

#include <atomic>
#include <memory>

namespace Halvorn {

/// The object is never destroyed: threads may use it until the very end of the process.
template <typename Value>
class HVPerProcess {
public:
    static Value& Shared() {
        static std::atomic<HVPerProcess*> latest = nullptr;
        HVPerProcess* known = latest;
        if (known != nullptr && known->process_ == ProcessNumber())
            return known->value_;
        auto fresh = std::unique_ptr<HVPerProcess>(new HVPerProcess(known)); // NOLINT: private
        if (latest.compare_exchange_strong(known, fresh.get()))
            known = fresh.release();
        return known->value_;
    }

private:
    explicit HVPerProcess(HVPerProcess const* parents) : parents_(parents) {}

    int const process_ = ProcessNumber();
    HVPerProcess const* const parents_; ///< held so that no leak checker reports it
    Value value_;
};

} // namespace Halvorn

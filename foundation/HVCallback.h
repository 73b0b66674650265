#pragma once
// Reports to the application: by way of its dispatcher, if it has set one, and to a function or a delegate
// that it may exchange at any time. No lock is held while the application's code runs. Thread-safe.

#include "HVApplicationCall.h"
#include "HVProcessEnd.h"

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>

namespace Halvorn {

/// Has the application's dispatcher run `report`, or runs it here when there is none. `report` keeps alive
/// what it needs, and calls the application's function by CallApplication or a slot.
void DispatchReport(std::function<void()> report);

/// Calls `function` by way of the dispatcher; an empty one is passed over.
template <typename... Parameters, typename... Arguments>
void ReportTo(std::function<void(Parameters...)> function, Arguments... arguments) {
    if (function)
        DispatchReport([function = std::move(function), arguments...] {
            CallApplication([&] { function(arguments...); });
        });
}

/// A function or a delegate of the application that may be exchanged while it is called.
template <typename Value>
class HVCallbackSlot {
public:
    /// Has a copy that is forked from the process find the slot whole. For those that live as long as that.
    void KeepInForks() { AddForkMutex(mutex_); }
    /// Takes `value`. When it returns, no call of the former value is under way and none will come; but
    /// inside a function of the application it does not wait.
    void Set(Value value) {
        // Made before the lock and destroyed after it: the value may run code of the application's.
        auto held = std::make_shared<Held>(Held{std::move(value)});
        std::unique_lock lock(mutex_);
        held_.swap(held);
        if (held != nullptr && !InsideApplicationCall())
            idle_.wait(lock, [&held] { return held->CallsNow() == 0; });
    }
    Value Get() const {
        std::lock_guard const lock(mutex_);
        return held_ == nullptr ? Value() : held_->value;
    }
    bool Filled() const {
        std::lock_guard const lock(mutex_);
        return held_ != nullptr && held_->value;
    }
    /// Runs `call` with the value, which counts as called meanwhile. False when there is none.
    template <typename Call>
    bool With(Call const& call) const {
        Entry const entry(*this);
        if (entry.held == nullptr)
            return false;
        call(entry.held->value);
        return true;
    }

private:
    struct Held {
        Value value;
        int calls = 0;
        int process = ProcessNumber();

        /// In a forked copy the calls of its parent's threads never end.
        int& CallsNow() {
            if (int const now = ProcessNumber(); process != now) {
                process = now;
                calls = 0;
            }
            return calls;
        }
    };
    /// A call under way.
    struct Entry {
        explicit Entry(HVCallbackSlot const& owner) : slot(owner) {
            std::lock_guard const lock(slot.mutex_);
            if (slot.held_ == nullptr || !slot.held_->value)
                return;
            held = slot.held_;
            ++held->CallsNow();
        }
        ~Entry() {
            if (held == nullptr)
                return;
            std::lock_guard const lock(slot.mutex_);
            if (int& calls = held->CallsNow(); calls > 0) // none, if this call has forked the process
                --calls;
            slot.idle_.notify_all();
        }
        Entry(Entry const&) = delete;
        Entry& operator=(Entry const&) = delete;

        HVCallbackSlot const& slot;
        std::shared_ptr<Held> held;
    };

    mutable std::mutex mutex_;
    mutable std::condition_variable idle_;
    std::shared_ptr<Held> held_;
};

} // namespace Halvorn

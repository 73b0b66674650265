#include "HVCallback.h"

#include "IHVCallbackDispatcher.h"

namespace Halvorn {

namespace {

using DispatcherSlot = HVCallbackSlot<IHVCallbackDispatcher::Dispatcher>;

/// Never destroyed: threads may report until the very end of the process.
DispatcherSlot& SharedDispatcher() {
    static auto* const slot = [] {
        auto* const made = new DispatcherSlot;
        made->KeepInForks();
        return made;
    }();
    return *slot;
}

} // namespace

void DispatchReport(std::function<void()> report) {
    bool dispatched = false;
    SharedDispatcher().With(
        [&](auto const& dispatcher) { dispatched = CallApplication(dispatcher, report); });
    // A dispatcher that throws must not cost the application a completion.
    if (!dispatched)
        report();
}

void IHVCallbackDispatcher::SetDispatcher(Dispatcher dispatcher) {
    SharedDispatcher().Set(std::move(dispatcher));
}

} // namespace Halvorn

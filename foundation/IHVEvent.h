#pragma once
// A signal that threads can wait for. Thread-safety: any operation from any thread.

#include <memory>

namespace Halvorn {

class IHVEvent {
public:
    static std::shared_ptr<IHVEvent> MallocEvent();

    /// Blocks until the event is signalled, for at most so many milliseconds: HVErrSuccess or HVErrTimeout.
    virtual int Wait(unsigned int milliseconds) = 0;
    /// Lets all present and later waits end.
    virtual void Signal() = 0;

protected:
    ~IHVEvent() = default;
};

} // namespace Halvorn

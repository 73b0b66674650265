#pragma once
// The one way to a function of the application: a delegate's operation, a state, progress or completion
// function, a callback, a log handler.
//
// What such a function throws is logged and reaches no code of ours. Once the process has begun to end, none
// is called any more: what it uses may be destroyed already. Thread-safe. Hold no lock around a call.

#include <exception>
#include <utility>

namespace Halvorn {

/// One call, for as long as the object lives.
class HVApplicationCall {
public:
    HVApplicationCall();
    ~HVApplicationCall();
    HVApplicationCall(HVApplicationCall const&) = delete;
    HVApplicationCall& operator=(HVApplicationCall const&) = delete;

    /// False once the process has begun to end: then the function must not be called.
    bool Allowed() const { return allowed_; }

private:
    bool const allowed_;
};

/// Whether this thread is inside a function of the application. Such a thread must not wait for calls to end:
/// it may be the one that is waited for.
bool InsideApplicationCall();

/// Whether the exit handlers of the process have begun to run.
bool ProcessIsEnding();

/// Logs what a function of the application has thrown.
void LogThrown(char const* what);

/// Calls `function`. True when it was called and has returned; what it throws is logged.
template <typename Function, typename... Arguments>
bool CallApplication(Function const& function, Arguments&&... arguments) {
    HVApplicationCall const call;
    if (!call.Allowed())
        return false;
    try {
        function(std::forward<Arguments>(arguments)...);
        return true;
    } catch (std::exception const& exception) {
        LogThrown(exception.what());
    } catch (...) {
        LogThrown("an exception that is no std::exception");
    }
    return false;
}

} // namespace Halvorn

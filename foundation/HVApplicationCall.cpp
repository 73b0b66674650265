#include "HVApplicationCall.h"

#include "HVProcessEnd.h"
#include "IHVLogConfig.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>

namespace Halvorn {

namespace {

/// How long the end of the process waits for calls that other threads are in.
constexpr std::chrono::milliseconds kCallPatience(1000);
constexpr std::chrono::milliseconds kCallStep(1);

std::atomic<bool> gEnding = false;
/// Calls under way, in all threads.
std::atomic<int> gCalls = 0;
std::atomic<unsigned long long> gFinishedCalls = 0;
/// Calls that this thread is in: one function of the application may lead to another.
thread_local int tCalls = 0;

/// Exit handlers and destructors of static objects run in the reverse order of their registration, so this
/// runs before the destruction of whatever was constructed before it was registered.
void MarkEnd() {
    gEnding = true;
    // The application may call exit() from inside one of its functions: that call does not end.
    auto const until = std::chrono::steady_clock::now() + kCallPatience;
    while (gCalls > tCalls && std::chrono::steady_clock::now() < until)
        std::this_thread::sleep_for(kCallStep);
}

void RegisterMark() {
    // Without room for a handler the end of the process is as it would be without this rule.
    static_cast<void>(std::atexit(MarkEnd));
}

/// The other threads' calls never end in a forked copy, whose own end must not wait for them.
void ForgetInCopy() {
    gCalls = tCalls;
}

/// Counts the call before the mark is looked at, and MarkEnd sets the mark before it looks at the count: one
/// of the two sees the other.
bool Enter() {
    static bool const registered =
        (RegisterMark(), SetForkFunctions(HVForkPlace::ApplicationCalls, {nullptr, nullptr, ForgetInCopy}),
         true);
    static_cast<void>(registered);
    ++gCalls;
    ++tCalls;
    return !gEnding;
}

} // namespace

HVApplicationCall::HVApplicationCall() : allowed_(Enter()) {}

HVApplicationCall::~HVApplicationCall() {
    --tCalls;
    --gCalls;
    // A function of the application may have constructed a static object, which goes before any handler that
    // is registered already. Registered anew after the 1st, 2nd, 4th, 8th... call: new objects become rare.
    unsigned long long const finished = ++gFinishedCalls;
    if (allowed_ && (finished & (finished - 1)) == 0)
        RegisterMark();
}

bool InsideApplicationCall() {
    return tCalls > 0;
}

bool ProcessIsEnding() {
    return gEnding;
}

void LogThrown(char const* what) {
    IHVLogConfig::Printf(IHVLogConfig::LogLevelError, "The application's function has thrown: %s", what);
}

} // namespace Halvorn

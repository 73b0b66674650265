#include "HVProcessEnd.h"

#include <array>
#include <atomic>
#include <cstddef>

#include <pthread.h>
#include <unistd.h>

namespace Halvorn {

namespace {

constexpr std::size_t kMostForkFunctions = 8;

std::array<std::atomic<void (*)()>, 2> gEndFunctions;
/// The process whose end counts. A copy made without fork(), such as by clone(), differs in this alone.
std::atomic<int> gOwner = 0;

std::array<HVForkFunctions, kMostForkFunctions> gForkFunctions;
/// Entries below it are complete and never change again.
std::atomic<std::size_t> gForkFunctionCount = 0;
std::atomic<std::size_t> gForkFunctionsTaken = 0;
/// How many took part in this thread's fork: another thread may add one meanwhile.
thread_local std::size_t tForkFunctions = 0;

void Call(void (*function)()) {
    if (function != nullptr)
        function();
}

void BeforeFork() {
    tForkFunctions = gForkFunctionCount;
    for (std::size_t i = tForkFunctions; i > 0; --i)
        Call(gForkFunctions[i - 1].before);
}

void AfterForkInParent() {
    for (std::size_t i = 0; i < tForkFunctions; ++i)
        Call(gForkFunctions[i].parent);
}

void AfterForkInCopy() {
    for (auto& function : gEndFunctions)
        function = nullptr;
    for (std::size_t i = 0; i < tForkFunctions; ++i)
        Call(gForkFunctions[i].copy);
}

/// After the destructors of static objects and all exit handlers, when the system unloads the library.
__attribute__((destructor)) void RunEndFunctions() {
    if (gOwner != getpid())
        return;
    for (auto& function : gEndFunctions)
        Call(function.exchange(nullptr));
}

} // namespace

void SetProcessEndFunction(HVEndStage stage, void (*function)()) {
    gOwner = getpid();
    gEndFunctions[static_cast<std::size_t>(stage)] = function;
}

void AddForkFunctions(HVForkFunctions const& functions) {
    static int const registered = pthread_atfork(BeforeFork, AfterForkInParent, AfterForkInCopy);
    std::size_t const place = gForkFunctionsTaken++;
    if (registered != 0 || place >= kMostForkFunctions)
        return;
    gForkFunctions[place] = functions;
    // In order, so that a fork never meets an entry that is half written.
    for (std::size_t before = place; !gForkFunctionCount.compare_exchange_weak(before, place + 1);)
        before = place;
}

} // namespace Halvorn

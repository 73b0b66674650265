#include "HVProcessEnd.h"

#include <array>
#include <atomic>
#include <cstddef>

#include <pthread.h>
#include <unistd.h>

namespace Halvorn {

namespace {

constexpr std::size_t kForkPlaces = 5;
constexpr std::size_t kMostForkMutexes = 16;

std::array<std::atomic<void (*)()>, 2> gEndFunctions;
/// The process whose end counts. A copy made without fork(), such as by clone(), differs in this alone.
std::atomic<int> gOwner = 0;

struct ForkPlace {
    HVForkFunctions functions;
    std::atomic<bool> taken = false; ///< the functions are set, and don't change again
};
std::array<ForkPlace, kForkPlaces> gForkPlaces;
std::array<std::atomic<std::mutex*>, kMostForkMutexes> gForkMutexes;
std::atomic<std::size_t> gForkMutexCount = 0;
/// What takes part in this thread's fork: another thread may add something meanwhile.
thread_local std::array<HVForkFunctions const*, kForkPlaces> tForkFunctions;
thread_local std::array<std::mutex*, kMostForkMutexes> tForkMutexes;

void Call(void (*function)()) {
    if (function != nullptr)
        function();
}

void BeforeFork() {
    for (std::size_t place = 0; place < kForkPlaces; ++place) {
        auto const& entry = gForkPlaces[place];
        tForkFunctions[place] = entry.taken ? &entry.functions : nullptr;
        if (entry.taken)
            Call(entry.functions.before);
    }
    for (std::size_t i = 0; i < kMostForkMutexes; ++i) {
        tForkMutexes[i] = gForkMutexes[i];
        if (tForkMutexes[i] != nullptr)
            tForkMutexes[i]->lock();
    }
}

void AfterFork(void (*HVForkFunctions::*after)()) {
    for (auto* const mutex : tForkMutexes)
        if (mutex != nullptr)
            mutex->unlock();
    for (auto const* const functions : tForkFunctions)
        if (functions != nullptr)
            Call(functions->*after);
}

void AfterForkInParent() {
    AfterFork(&HVForkFunctions::parent);
}

void AfterForkInCopy() {
    for (auto& function : gEndFunctions)
        function = nullptr;
    AfterFork(&HVForkFunctions::copy);
}

void TakePartInForks() {
    static int const registered = pthread_atfork(BeforeFork, AfterForkInParent, AfterForkInCopy);
    static_cast<void>(registered);
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

void SetForkFunctions(HVForkPlace place, HVForkFunctions const& functions) {
    TakePartInForks();
    auto& entry = gForkPlaces[static_cast<std::size_t>(place)];
    entry.functions = functions;
    entry.taken = true;
}

void AddForkMutex(std::mutex& mutex) {
    TakePartInForks();
    if (std::size_t const place = gForkMutexCount++; place < kMostForkMutexes)
        gForkMutexes[place] = &mutex;
}

int ProcessNumber() {
    return getpid();
}

} // namespace Halvorn

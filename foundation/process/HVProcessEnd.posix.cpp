#include "HVProcessEnd.h"

#include <array>
#include <atomic>

namespace Halvorn {

namespace {

std::array<std::atomic<void (*)()>, 2> gEndFunctions;

__attribute__((destructor)) void RunEndFunctions() {
    for (auto& function : gEndFunctions)
        if (auto* const call = function.exchange(nullptr))
            call();
}

} // namespace

void SetProcessEndFunction(HVEndStage stage, void (*function)()) {
    gEndFunctions[static_cast<std::size_t>(stage)] = function;
}

} // namespace Halvorn

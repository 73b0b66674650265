// A lack of memory on the thread that delivers a tool's output.

#include "HVToolRun.h"
#include "LogLines.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

namespace {
thread_local bool tNoMemory = false;
}

// The array forms and those that don't throw lead here.
void* operator new(std::size_t size) {
    void* const bytes = tNoMemory ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (bytes == nullptr)
        throw std::bad_alloc();
    return bytes;
}

void operator delete(void* bytes) noexcept {
    std::free(bytes);
}

void operator delete(void* bytes, std::size_t) noexcept {
    std::free(bytes);
}

using namespace Halvorn;

TEST(Memory, ItsLackOnTheDeliveryThreadEndsTheRunAlone) {
    LogLines const log;
    HVToolRun run("/bin/sh", {"-c", "echo long enough to be no short text; echo error >&2; exec sleep 60"});
    run.SetOutputHandler([](std::string const&) { tNoMemory = true; });
    run.SetLimits({10'000, 0, 0});
    auto const result = run.Run();
    EXPECT_EQ(result.endedBy, HVToolResult::By::Handler);
    EXPECT_EQ(result.end.signal, 15);
    EXPECT_NE(result.handlerError, nullptr);
}

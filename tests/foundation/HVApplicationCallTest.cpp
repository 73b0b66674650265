#include "HVApplicationCall.h"
#include "Recorder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <stdexcept>

using namespace Halvorn;

namespace {

std::atomic<bool> gDestroyed = false;
std::atomic<int> gCallsAfterwards = 0;
std::atomic<int> gRefused = 0;

/// What a function of an application may use: it is made in the first call.
struct StaticObject {
    ~StaticObject() { gDestroyed = true; }
};

void Function() {
    static StaticObject object;
    gCallsAfterwards += gDestroyed ? 1 : 0;
}

[[noreturn]] void EndWithACallerAtWork() {
    // The first handler runs last: by then the object is gone and the thread has tried again.
    std::atexit([] {
        int const before = gRefused;
        Eventually([&] { return gRefused > before + 10; });
        std::_Exit(gCallsAfterwards);
    });
    std::atomic<bool> called = false;
    std::thread([&called] {
        for (;;) {
            if (CallApplication(Function))
                called = true;
            else
                ++gRefused;
        }
    }).detach();
    Eventually([&] { return called.load(); });
    std::exit(1);
}

} // namespace

TEST(HVApplicationCall, ContainsWhatIsThrown) {
    EXPECT_TRUE(CallApplication([](int value) { EXPECT_EQ(value, 7); }, 7));
    EXPECT_FALSE(CallApplication([] { throw std::runtime_error("50 %s"); }));
    EXPECT_FALSE(CallApplication([] { throw 1; }));
}

TEST(HVApplicationCall, IsNotMadeOnceTheProcessEnds) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(EndWithACallerAtWork(), testing::ExitedWithCode(0), "");
}

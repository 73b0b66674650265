#include "HVCallback.h"
#include "IHVCallbackDispatcher.h"
#include "IHVLogConfig.h"
#include "Recorder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>

using namespace Halvorn;

TEST(HVCallback, IsNotCalledOnceItIsReplaced) {
    std::atomic<bool> inside = false;
    std::atomic<bool> replaced = false;
    IHVLogConfig::SetHandler([&](auto, auto const&) {
        inside = true;
        EXPECT_FALSE(Eventually([&] { return replaced.load(); }, std::chrono::milliseconds(100)));
    });
    std::thread logger([] { IHVLogConfig::Printf("x"); });
    EXPECT_TRUE(Eventually([&] { return inside.load(); }));
    IHVLogConfig::SetHandler({});
    replaced = true;
    logger.join();
    // Out of the handler itself, or another function of the application, it does not wait for itself.
    IHVLogConfig::SetHandler([](auto, auto const&) { IHVLogConfig::SetHandler({}); });
    IHVLogConfig::Printf("x");
}

TEST(HVCallback, IsGuardedAndGoesThroughTheDispatcher) {
    std::string told;
    std::function<void(std::string)> const tell = [&told](std::string const& text) {
        told += text;
        throw 1;
    };
    ReportTo(std::function<void()>());
    ReportTo(tell, "a");
    std::vector<std::function<void()>> works;
    IHVCallbackDispatcher::SetDispatcher([&](auto work) { works.push_back(std::move(work)); });
    ReportTo(tell, "b");
    IHVCallbackDispatcher::SetDispatcher([](auto const&) { throw std::runtime_error("full"); });
    ReportTo(tell, "c");
    IHVCallbackDispatcher::SetDispatcher({});
    EXPECT_EQ(told, "ac");
    ASSERT_EQ(works.size(), 1U);
    works[0]();
    EXPECT_EQ(told, "acb");
}

#include "HVCallback.h"
#include "HVAppSettings.h"
#include "HVPerProcess.h"
#include "IHVCallbackDispatcher.h"
#include "IHVLogConfig.h"
#include "Recorder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

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

TEST(HVCallback, OfTheLogSeesNoPasswordAndMayCallWhatLogs) {
    auto const settings = MallocAppSettings("/dev/null/x://me:secret@h/settings.json");
    std::string told;
    IHVLogConfig::SetHandler([&](auto, std::string const& line) {
        if (std::exchange(told, line).empty())
            settings->Save(); // one call of it at a time: under a lock this one would wait for ever
    });
    settings->Save();
    IHVLogConfig::SetHandler({});
    EXPECT_NE(told.find("x://me:***@h/"), std::string::npos) << told;
}

TEST(HVCallback, AForkedCopyWaitsForNothingOfItsParentsThreads) {
    std::atomic<bool> inside = false;
    std::atomic<bool> over = false;
    IHVLogConfig::SetHandler([&](auto, auto const&) {
        std::lock_guard const lock(HVPerProcess<std::mutex>::Shared());
        inside = true;
        EXPECT_TRUE(Eventually([&] { return over.load(); }));
    });
    std::thread logger([] { IHVLogConfig::Printf("x"); });
    EXPECT_TRUE(Eventually([&] { return inside.load(); }));
    pid_t const copy = fork();
    if (copy == 0) {
        alarm(60);
        IHVLogConfig::SetHandler({});
        HVPerProcess<std::mutex>::Shared().lock();
        std::_Exit(7);
    }
    int status = 0;
    waitpid(copy, &status, 0);
    EXPECT_EQ(status, 7 << 8);
    over = true;
    logger.join();
    IHVLogConfig::SetHandler({});
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

#include "HVToolRun.h"
#include "Folder.h"
#include "HVToolStop.h"
#include "HVToolVersion.h"
#include "IHVDownloadPlugin.h"
#include "LogLines.h"
#include "Recorder.h"
#include "Text.h"

#include <gmock/gmock.h>

#include <future>
#include <stdexcept>

using namespace Halvorn;
using namespace std::chrono_literals;
using By = HVToolResult::By;
using Clock = std::chrono::steady_clock;

namespace {

char const* NameOf(By by) {
    char const* const names[] = {"tool",         "stop",  "time limit", "silence limit",
                                 "output limit", "watch", "handler"};
    return names[static_cast<int>(by)];
}

/// What a shell script came to: who ended it, status and signal, and how much it printed.
std::string Outcome(std::string const& script, std::function<void(HVToolRun&)> const& setUp = {}) {
    HVToolRun run("/bin/sh", {"-c", script});
    if (setUp)
        setUp(run);
    auto const result = run.Run();
    return Text(NameOf(result.endedBy), result.end.known, result.end.status, result.end.signal,
                result.output.substr(0, 10), result.errors);
}

std::function<void(HVToolRun&)> Limits(HVToolLimits const& limits) {
    return [limits](HVToolRun& run) { run.SetLimits(limits); };
}

} // namespace

TEST(HVToolRun, TellsWhatItCameTo) {
    LogLines const log;
    std::string const flood = "while :; do echo ffffffffffffffffffffffffffffffffffff; done";
    for (auto const& [outcome, expected] : Rows{
             {Outcome("echo out; echo err >&2; exit 3"), "tool|1|3|0|out\n|err\n"},
             {Outcome("kill -9 $$"), "tool|1|0|9||"},
             {Outcome("echo a; sleep 60", Limits({300, 0, 0})), "time limit|1|0|15|a\n|"},
             {Outcome("trap '' TERM; sleep 60 & wait; sleep 60", Limits({100, 0, 0})), "time limit|1|0|9||"},
             {Outcome("for i in 1 2 3 4 5 6; do echo $i; sleep 0.1; done; sleep 60", Limits({0, 400, 0})),
              "silence limit|1|0|15|1\n2\n3\n4\n5\n|"},
             {Outcome(flood, Limits({0, 0, 1000})), "output limit|1|0|15|ffffffffff|"},
             {Outcome(flood + " >&2", Limits({0, 0, 10})), "output limit|1|0|15||ffffffffff"},
             {Outcome("sleep 60", [](auto& run) { run.SetWatch([] { return false; }); }), "watch|1|0|15||"},
             {Outcome("echo; sleep 60",
                      [](auto& run) {
                          run.SetOutputHandler([](auto const&) { throw std::runtime_error("bad line"); });
                      }),
              "handler|1|0|15||"},
             // What it leaves behind is waited for, or ended with it.
             {Outcome("(sleep 0.2; echo late) & exit 4"), "tool|1|4|0|late\n|"},
             {Outcome("echo early; sleep 60 & exit 4", [](auto& run) { run.EndWithLeader(); }),
              "tool|1|4|0|early\n|"},
         })
        EXPECT_EQ(outcome, expected);
    HVToolRun missing("/no/such/tool", {});
    bool told = false;
    EXPECT_THAT(missing.Run().startError->GetErrorMessage(), testing::HasSubstr("no such file"));
    missing.OnExit([&] { told = true; });
    EXPECT_TRUE(told);
}

TEST(HVToolRun, MaySpendNoTimeWhileAllAreSuspended) {
    IHVTask::SuspendAll(true);
    auto run = std::async(std::launch::async, [] {
        return Outcome("sleep 0.1; echo 1", Limits({400, 400, 0}));
    });
    EXPECT_EQ(run.wait_for(600ms), std::future_status::timeout);
    IHVTask::SuspendAll(false);
    EXPECT_EQ(run.get(), "tool|1|0|0|1\n|");
}

TEST(HVToolRun, IsEndedAtOnceByItsStop) {
    // The polls are half a second apart, the kill comes after a second and a half.
    struct Case {
        char const* script;
        bool leaves;
        Clock::duration within;
    };
    for (auto const& [script, leaves, within] :
         {Case{"echo; exec sleep 60", false, 300ms}, Case{"sleep 60 & echo; wait", true, 300ms},
          Case{"trap '' TERM; echo; sleep 60 & wait; sleep 60", true, 1200ms}}) {
        HVToolStop stop;
        HVToolRun run("/bin/sh", {"-c", script});
        std::promise<void> up;
        run.SetOutputHandler([&](auto const&) { up.set_value(); });
        run.SetStop(&stop);
        if (leaves)
            run.LeaveAfterStop();
        auto ended = std::async(std::launch::async, [&] { return run.Run().endedBy; });
        up.get_future().wait();
        auto const begin = Clock::now();
        stop.Request();
        EXPECT_EQ(ended.get(), By::Stop);
        EXPECT_LT(Clock::now() - begin, within) << script;
        std::promise<void> gone;
        run.OnExit([&] { gone.set_value(); });
        gone.get_future().wait();
    }
}

TEST(HVToolRun, AStopFromBeforeCountsAtTheFirstPoll) {
    HVToolStop stop;
    stop.Request();
    for (auto const& [script, expected] :
         Rows{{"echo whole", "tool|1|0|0|whole\n|"}, {"echo part; sleep 60", "stop|1|0|15|part\n|"}})
        EXPECT_EQ(Outcome(script, [&](auto& run) { run.SetStop(&stop); }), expected);
}

TEST(ToolVersion, IsAskedForWithinBounds) {
    LogLines const log;
    Folder const folder;
    for (auto const& [script, expected] :
         Rows{{"echo 1; echo 2; echo err >&2", "1\n2\n|1|"},
              {"echo err >&2", "|err|"},
              {"echo 1; exit 7", "1\n||does not run: 1"},
              {"exit 7", "||does not run: it prints nothing"},
              {"echo 1; exec sleep 60", "||does not end"},
              {"while :; do echo ffffffffffffffffffffffffff; done", "||prints without an end"},
              {"echo 1; sleep 60 &", "1\n|1|"}}) {
        std::string const path = folder.Put("tool", "#!/bin/sh\n" + script + "\n");
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        auto const version = IHVDownloadPlugin::AskProgramVersion(path, "-v", 1000);
        EXPECT_EQ(Text(ToolVersion(path, 1000), version.line, version.fault), expected) << script;
    }
    std::string const path = folder.Put("text", "no program");
    EXPECT_EQ(IHVDownloadPlugin::AskProgramVersion(path, "-v").fault,
              "the file can't be executed (it lacks the permission)");
}

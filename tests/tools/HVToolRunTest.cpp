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
    Folder const folder;
    std::string const flood = "while :; do echo ffffffffffffffffffffffffffffffffffff; done";
    for (auto const& [outcome, expected] : Rows{
             {Outcome("echo out; echo err >&2; exit 3"), "tool|1|3|0|out\n|err\n"},
             {Outcome("kill -9 $$"), "tool|1|0|9||"},
             {Outcome("sleep 60", Limits({300, 0, 0})), "time limit|1|0|15||"},
             {Outcome("for i in 1 2 3 4 5 6; do echo $i; sleep 0.4; done; sleep 60", Limits({0, 2000, 0})),
              "silence limit|1|0|15|1\n2\n3\n4\n5\n|"},
             {Outcome(flood, Limits({0, 0, 1000})), "output limit|1|0|15|ffffffffff|"},
             {Outcome(flood + " >&2", Limits({0, 0, 10})), "output limit|1|0|15||ffffffffff"},
             {Outcome("sleep 60", [](auto& run) { run.SetWatch([] { return false; }); }), "watch|1|0|15||"},
             // It ignores the request, and so does what it has started.
             {Outcome(
                  "trap '' TERM; >" + (folder / "up") + "; sleep 60 & wait; sleep 60",
                  [&](auto& run) { run.SetWatch([&] { return !std::filesystem::exists(folder / "up"); }); }),
              "watch|1|0|9||"},
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
    Folder const folder;
    IHVTask::SuspendAll(true);
    auto run = std::async(std::launch::async, [&] {
        return Outcome("until [ -e " + (folder / "go") + " ]; do sleep 0.05; done; echo 1",
                       Limits({3000, 3000, 0}));
    });
    EXPECT_EQ(run.wait_for(3500ms), std::future_status::timeout);
    folder.Put("go", "");
    IHVTask::SuspendAll(false);
    EXPECT_EQ(run.get(), "tool|1|0|0|1\n|");
}

TEST(HVToolRun, IsEndedByItsStopItself) {
    HVToolStop stop;
    HVToolRun run("/bin/sh", {"-c", "sleep 60 & echo; wait"});
    std::promise<void> up;
    std::promise<void> looks;
    std::promise<void> gone;
    run.SetOutputHandler([&](auto const&) { up.set_value(); });
    run.SetStop(&stop);
    // The run itself can look at nothing until its child has ended.
    run.SetWatch([&, first = true]() mutable {
        if (std::exchange(first, false)) {
            looks.set_value();
            EXPECT_EQ(gone.get_future().wait_for(30s), std::future_status::ready);
        }
        return true;
    });
    auto ended = std::async(std::launch::async, [&] { return run.Run().endedBy; });
    up.get_future().wait();
    looks.get_future().wait();
    stop.Request();
    run.OnExit([&] { gone.set_value(); });
    EXPECT_EQ(ended.get(), By::Stop);
}

TEST(HVToolRun, AStopFromBeforeCountsAtTheFirstPoll) {
    HVToolStop stop;
    stop.Request();
    auto const outcome = [&](char const* script) {
        return Outcome(script, [&](auto& run) { run.SetStop(&stop); });
    };
    EXPECT_EQ(outcome("sleep 60"), "stop|1|0|15||");
    // A machine under load may need longer than that for this.
    EXPECT_TRUE(Eventually([&] { return outcome("echo whole") == "tool|1|0|0|whole\n|"; }));
}

TEST(ToolVersion, IsAskedForWithinBounds) {
    LogLines const log;
    Folder const folder;
    for (auto const& [script, expected] :
         Rows{{"echo 1; echo 2; echo err >&2", "1\n2\n|1|"},
              {"echo err >&2", "|err|"},
              {"echo 1; exit 7", "1\n||does not run: 1"},
              {"exit 7", "||does not run: it prints nothing"},
              {"exec sleep 60", "||does not end"},
              {"while :; do echo ffffffffffffffffffffffffff; done", "||prints without an end"},
              {"echo 1; sleep 60 &", "1\n|1|"}}) {
        std::string const path = folder.Put("tool", "#!/bin/sh\n" + script + "\n");
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        // One that does not end is given less time than one that is to print first.
        unsigned int const time = expected == "||does not end" ? 500 : 30'000;
        auto const version = IHVDownloadPlugin::AskProgramVersion(path, "-v", time);
        EXPECT_EQ(Text(ToolVersion(path, time), version.line, version.fault), expected) << script;
    }
    std::string const path = folder.Put("text", "no program");
    EXPECT_EQ(IHVDownloadPlugin::AskProgramVersion(path, "-v").fault,
              "the file can't be executed (it lacks the permission)");
}

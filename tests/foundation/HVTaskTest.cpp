#include "Folder.h"
#include "IHVTask.h"
#include "LogLines.h"
#include "Text.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <future>
#include <stdexcept>
#include <thread>
#include <unistd.h>

using namespace Halvorn;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

struct ShellRun {
    std::shared_ptr<IHVTask> task = IHVTask::MallocTask();
    std::vector<std::string> chunks;
    std::string out;
    std::string err;
    std::promise<void> first;
    bool any = false;

    explicit ShellRun() {
        task->SetErrorHandler([this](std::shared_ptr<IHVData const> data) { err += data->ToText(); });
        task->SetOutputHandler([this](std::shared_ptr<IHVData const> data) {
            chunks.push_back(data->ToText());
            out += data->ToText();
            if (!std::exchange(any, true))
                first.set_value();
        });
    }
    void Start(std::string const& script) {
        auto const error = task->Launch("/bin/sh", {"-c", script}, true);
        ASSERT_TRUE(error->Succeed()) << error->GetErrorMessage();
    }
    void AwaitOutput() { ASSERT_EQ(first.get_future().wait_for(20s), std::future_status::ready); }
    pid_t PrintedPid() const { return static_cast<pid_t>(std::stoi(out)); }
};

bool GoneWithin(pid_t pid, std::chrono::milliseconds limit) {
    // A defunct process whose parent is slow to reap it does not count.
    auto const alive = [pid] {
        std::ifstream status("/proc/" + std::to_string(pid) + "/stat");
        std::string const text((std::istreambuf_iterator<char>(status)), {});
        auto const state = text.rfind(") ");
        return state != std::string::npos && text[state + 2] != 'Z';
    };
    auto const until = Clock::now() + limit;
    while (alive() && Clock::now() < until)
        std::this_thread::sleep_for(2ms);
    return !alive();
}

} // namespace

TEST(HVTask, DeliversBothStreamsBeforeTheEndIsReported) {
    // A descriptor of the application that a child must not see.
    int const stray = open("/dev/null", O_RDONLY);
    for (auto const& [script, expected] : Rows{
             {"printf out; printf err >&2", "out|err"},
             {"printf err >&2; exit 3", "|err"},
             {"cat", "|"}, // standard input is empty
             {"printf '%s' \"$PYTHONUTF8\"", "1|"},
             {"exec 1>&-; printf late >&2", "|late"}, // closes its output and lives on
             {"(sleep 0.2; printf grandchild) & printf child", "childgrandchild|"},
             {"ls /proc/self/fd | tr '\\n' ' '", "0 1 2 3 |"}, // 3 is the folder that ls reads
             {"ps -o pgid= -p $$ | tr -d ' \\n' | grep -qx $$ && printf own", "own|"},
             {"(: </dev/tty) 2>/dev/null || printf none", "none|"}, // there is no terminal to ask at
         }) {
        ShellRun run;
        run.Start(script);
        EXPECT_EQ(run.task->WaitExit(HVInfiniteTimeOut), HVErrSuccess);
        EXPECT_EQ(Text(run.out, run.err), expected) << script;
    }
    close(stray);
    ShellRun run;
    run.Start(R"(printf 'a\rb\r\rc\n\rd')");
    run.task->WaitExit(HVInfiniteTimeOut);
    EXPECT_THAT(run.chunks, testing::ElementsAre("a", "\rb", "\r\rc\n", "\rd"));
}

TEST(HVTask, SaysWhyAProgramCannotBeStarted) {
    Folder const folder;
    for (auto const* name : {"text", "orphan"}) {
        folder.Put(name, name == std::string("text") ? "no program" : "#!/no/such/interpreter\n");
        std::filesystem::permissions(folder / name, std::filesystem::perms::owner_all);
    }
    for (auto const& [exe, words] : Rows{{"", "no path"},
                                         {folder / "missing", "no such file"},
                                         {folder.Put("plain", "#!/bin/sh\n"), "can't be executed"},
                                         {folder / "text", "is no program"},
                                         {folder / "orphan", "to be run with is missing"},
                                         {folder.Path(), "is a folder"}}) {
        auto const task = IHVTask::MallocTask();
        auto const error = task->Launch(exe, {}, true);
        EXPECT_FALSE(error->Succeed());
        EXPECT_THAT(error->GetErrorMessage(), testing::HasSubstr(words));
        EXPECT_EQ(task->WaitExit(0), HVErrFailure);
        EXPECT_EQ(IHVTask::LaunchTask(exe, {}), nullptr);
    }
}

TEST(HVTask, TerminateEndsTheWholeGroup) {
    // Each prints the id of the process that must be gone afterwards.
    for (auto const& [script, within] : std::vector<std::pair<char const*, Clock::duration>>{
             {"echo $$; exec sleep 60", 400ms},
             {"sleep 60 & echo $!; wait", 400ms},                       // a launcher's grandchild
             {"(sleep 60 & echo $!)", 400ms},                           // one whose parent has ended
             {"trap '' TERM; echo $$; while :; do sleep 60; done", 3s}, // one that ignores the request
             {"(trap '' TERM; exec sleep 60 >/dev/null 2>&1) & echo $!; exec sleep 60",
              3s}, // and holds no pipe
             {"echo $$; kill -STOP $$", 3s}}) {
        ShellRun run;
        run.Start(script);
        run.AwaitOutput();
        EXPECT_EQ(run.task->WaitExit(0), HVErrTimeout) << script;
        auto const begin = Clock::now();
        run.task->Terminate();
        run.task->Terminate();
        EXPECT_EQ(run.task->WaitExit(10'000), HVErrSuccess) << script;
        EXPECT_LT(Clock::now() - begin, within) << script;
        EXPECT_TRUE(GoneWithin(run.PrintedPid(), 100ms)) << script;
    }
}

TEST(HVTask, EndsThoughAStrangerHoldsThePipes) {
    ShellRun run;
    run.Start("setsid sh -c 'echo $$; exec sleep 60' & sleep 0.2");
    EXPECT_EQ(run.task->WaitExit(10'000), HVErrSuccess);
    kill(run.PrintedPid(), SIGKILL);
}

TEST(HVTask, TakesAFloodAndAnExceptionFromAHandler) {
    ShellRun flood;
    flood.Start("head -c 100000000 /dev/zero");
    EXPECT_EQ(flood.task->WaitExit(HVInfiniteTimeOut), HVErrSuccess);
    EXPECT_EQ(flood.out.size(), 100'000'000U);

    LogLines const log;
    ShellRun thrower;
    thrower.task->SetOutputHandler([](auto const&) { throw std::runtime_error("odd text"); });
    thrower.Start("echo x; exec sleep 60");
    EXPECT_EQ(thrower.task->WaitExit(10'000), HVErrSuccess);
    ASSERT_NE(thrower.task->DeliveryError(), nullptr);
    EXPECT_THAT(thrower.task->DeliveryError()->GetErrorMessage(), testing::HasSubstr("odd text"));

    ShellRun silent;
    silent.task->SetSilenceLimit(100);
    silent.Start("exec sleep 60");
    EXPECT_EQ(silent.task->WaitExit(10'000), HVErrSuccess);
}

TEST(HVTask, RunsManyAtOnceAndOutlivesItsOwner) {
    std::vector<std::unique_ptr<ShellRun>> runs;
    std::atomic<int> exits = 0;
    for (int i = 0; i < 200; ++i) {
        runs.push_back(std::make_unique<ShellRun>());
        runs.back()->Start("echo ready; read -r line; sleep 0.1; printf done");
        runs.back()->task->OnExit([&] { ++exits; });
    }
    for (auto& run : runs) {
        EXPECT_EQ(run->task->WaitExit(30'000), HVErrSuccess);
        EXPECT_EQ(run->out, "ready\ndone");
        run->task->OnExit([&] { ++exits; });
    }
    EXPECT_EQ(exits, 400);

    auto gone = std::make_shared<std::promise<void>>();
    auto const future = gone->get_future();
    auto task = IHVTask::LaunchTask("/bin/sh", {"-c", "sleep 0.1"});
    task->OnExit([gone] { gone->set_value(); });
    task = nullptr;
    EXPECT_EQ(future.wait_for(10s), std::future_status::ready);
}

TEST(HVTask, ChildrenDieWithTheApplication) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    auto const report = std::filesystem::temp_directory_path() / ("hvtask" + std::to_string(getpid()));
    setenv("HVTASK_REPORT", report.c_str(), 0); // the application is another process, which keeps the name
    EXPECT_EXIT(
        {
            ShellRun run;
            run.Start("trap '' TERM; sleep 60 & echo $!; wait");
            run.AwaitOutput();
            std::ofstream(std::getenv("HVTASK_REPORT")) << run.out;
            raise(SIGKILL);
        },
        testing::KilledBySignal(SIGKILL), "");
    pid_t child = 0;
    std::ifstream(report) >> child;
    EXPECT_GT(child, 0);
    EXPECT_TRUE(GoneWithin(child, 5s));
    std::filesystem::remove(report);
}

#include "IHVLogConfig.h"
#include "IHVTask.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <future>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/wait.h>
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

bool Alive(pid_t pid) {
    // A defunct process whose parent is slow to reap it does not count.
    std::ifstream status("/proc/" + std::to_string(pid) + "/stat");
    std::string text((std::istreambuf_iterator<char>(status)), {});
    auto const state = text.rfind(") ");
    return state != std::string::npos && text[state + 2] != 'Z';
}

bool GoneWithin(pid_t pid, std::chrono::milliseconds limit) {
    auto const until = Clock::now() + limit;
    while (Alive(pid) && Clock::now() < until)
        std::this_thread::sleep_for(2ms);
    return !Alive(pid);
}

} // namespace

TEST(HVTask, DeliversBothStreamsBeforeTheEndIsReported) {
    struct Row {
        char const* script;
        std::string out;
        std::string err;
    };
    Row const rows[] = {
        {"printf out; printf err >&2", "out", "err"},
        {"printf err >&2; exit 3", "", "err"},
        {"cat", "", ""}, // standard input is empty
        {"printf '%s' \"$PYTHONUTF8\"", "1", ""},
        {"exec 1>&-; printf late >&2", "", "late"}, // closes its output and lives on
        {"(sleep 0.2; printf grandchild) & printf child", "childgrandchild", ""},
        {"ls /proc/self/fd | tr '\\n' ' '", "0 1 2 3 ", ""}, // 3 is the folder that ls reads
        {"ps -o pgid= -p $$ | tr -d ' \\n' | grep -qx $$ && printf own", "own", ""},
        {"(: </dev/tty) 2>/dev/null || printf none", "none", ""}, // there is no terminal to ask at
    };
    // A descriptor of the application that a child must not see.
    int const stray = open("/dev/null", O_RDONLY);
    for (auto const& row : rows) {
        ShellRun run;
        run.Start(row.script);
        EXPECT_EQ(run.task->WaitExit(HVInfiniteTimeOut), HVErrSuccess);
        EXPECT_EQ(run.out, row.out) << row.script;
        EXPECT_EQ(run.err, row.err) << row.script;
    }
    close(stray);
}

TEST(HVTask, CutsInFrontOfEachCarriageReturn) {
    ShellRun run;
    run.Start(R"(printf 'a\rb\r\rc\n\rd')");
    run.task->WaitExit(HVInfiniteTimeOut);
    EXPECT_THAT(run.chunks, testing::ElementsAre("a", "\rb", "\r\rc\n", "\rd"));
}

TEST(HVTask, SaysWhyAProgramCannotBeStarted) {
    auto const folder = std::filesystem::temp_directory_path() / ("hvtask" + std::to_string(getpid()));
    std::filesystem::create_directory(folder);
    auto const make = [&](char const* name, char const* text, bool executable) {
        auto path = folder / name;
        std::ofstream(path) << text;
        if (executable)
            std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        return path.string();
    };
    struct Row {
        std::string exe;
        char const* words;
    };
    Row const rows[] = {
        {"", "no path"},
        {(folder / "missing").string(), "no such file"},
        {make("plain", "#!/bin/sh\n", false), "can't be executed"},
        {make("text", "no program", true), "is no program"},
        {make("orphan", "#!/no/such/interpreter\n", true), "to be run with is missing"},
        {folder.string(), "is a folder"},
    };
    for (auto const& row : rows) {
        auto const task = IHVTask::MallocTask();
        auto const error = task->Launch(row.exe, {}, true);
        EXPECT_FALSE(error->Succeed());
        EXPECT_THAT(error->GetErrorMessage(), testing::HasSubstr(row.words));
        EXPECT_EQ(task->WaitExit(0), HVErrFailure);
        EXPECT_EQ(IHVTask::LaunchTask(row.exe, {}), nullptr);
    }
    std::filesystem::remove_all(folder);
}

TEST(HVTask, TerminateEndsTheWholeGroup) {
    struct Row {
        char const* what;
        char const* script; // prints the id of the process that must be gone afterwards
        Clock::duration within;
    };
    Row const rows[] = {
        {"plain", "echo $$; exec sleep 60", 400ms},
        {"a launcher's grandchild", "sleep 60 & echo $!; wait", 400ms},
        {"a grandchild whose parent has ended", "(sleep 60 & echo $!)", 400ms},
        {"one that ignores the request", "trap '' TERM; echo $$; while :; do sleep 60; done", 3s},
        {"a grandchild that ignores the request and holds no pipe",
         "(trap '' TERM; exec sleep 60 >/dev/null 2>&1) & echo $!; exec sleep 60", 3s},
        {"a stopped one", "echo $$; kill -STOP $$", 3s},
    };
    for (auto const& row : rows) {
        ShellRun run;
        run.Start(row.script);
        run.AwaitOutput();
        EXPECT_EQ(run.task->WaitExit(0), HVErrTimeout) << row.what;
        auto const begin = Clock::now();
        run.task->Terminate();
        run.task->Terminate();
        EXPECT_EQ(run.task->WaitExit(10'000), HVErrSuccess) << row.what;
        EXPECT_LT(Clock::now() - begin, row.within) << row.what;
        EXPECT_TRUE(GoneWithin(run.PrintedPid(), 100ms)) << row.what;
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
    flood.task->SetOutputHandler([&](std::shared_ptr<IHVData const> data) { flood.out += data->ToText(); });
    flood.Start("head -c 100000000 /dev/zero");
    EXPECT_EQ(flood.task->WaitExit(HVInfiniteTimeOut), HVErrSuccess);
    EXPECT_EQ(flood.out.size(), 100'000'000U);

    IHVLogConfig::SetHandler([](auto, auto const&) {});
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
    IHVLogConfig::SetHandler(nullptr);
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

// Started by the next test as a process of its own, which is then killed.
TEST(HVTask, DISABLED_HoldsAChild) {
    ShellRun run;
    run.Start("sleep 60 & echo $!; wait");
    run.AwaitOutput();
    std::ofstream(std::getenv("HVTASK_REPORT")) << run.out << "end\n";
    pause();
}

TEST(HVTask, ChildrenDieWithTheApplication) {
    auto const report = std::filesystem::temp_directory_path() / ("hvtask-report" + std::to_string(getpid()));
    std::filesystem::remove(report);
    setenv("HVTASK_REPORT", report.c_str(), 1);
    pid_t const application = fork();
    if (application == 0) {
        execl("/proc/self/exe", "test", "--gtest_also_run_disabled_tests",
              "--gtest_filter=HVTask.DISABLED_HoldsAChild", nullptr);
        _exit(127);
    }
    std::string text;
    auto const until = Clock::now() + 30s;
    while (text.find("end") == std::string::npos && Clock::now() < until) {
        std::this_thread::sleep_for(5ms);
        std::ifstream file(report);
        text.assign(std::istreambuf_iterator<char>(file), {});
    }
    ASSERT_NE(text.find("end"), std::string::npos);
    auto const child = static_cast<pid_t>(std::stoi(text));
    EXPECT_TRUE(Alive(child));
    kill(application, SIGKILL);
    waitpid(application, nullptr, 0);
    EXPECT_TRUE(GoneWithin(child, 5s));
    std::filesystem::remove(report);
}

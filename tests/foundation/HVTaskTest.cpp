#include "Folder.h"
#include "IHVTask.h"
#include "Recorder.h"
#include "Text.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
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
    std::atomic<bool> any = false;

    ShellRun() {
        task->SetErrorHandler([this](std::shared_ptr<IHVData const> data) { err += data->ToText(); });
        task->SetOutputHandler([this](std::shared_ptr<IHVData const> data) {
            chunks.push_back(data->ToText());
            out += data->ToText();
            any = true;
        });
    }
    void Start(std::string const& script) {
        ASSERT_TRUE(task->Launch("/bin/sh", {"-c", script}, true)->Succeed());
    }
    pid_t PrintedPid() const {
        return Eventually([this] { return any.load(); }) ? std::stoi(out) : 0;
    }
};

bool GoneWithin(pid_t pid, std::chrono::milliseconds limit) {
    // A defunct process whose parent is slow to reap it does not count.
    auto const gone = [pid] {
        std::ifstream status("/proc/" + std::to_string(pid) + "/stat");
        std::string const text((std::istreambuf_iterator<char>(status)), {});
        return text.empty() || text.find(") Z") != std::string::npos;
    };
    return Eventually(gone, limit);
}

} // namespace

TEST(HVTask, DeliversBothStreamsBeforeTheEndIsReported) {
    // A descriptor of the application that a child must not see.
    int const stray = open("/dev/null", O_RDONLY);
    for (auto const& [script, expected] : Rows{
             {"printf out; printf err >&2; exit 3", "out|err"},
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
    for (auto const& [name, text] : Rows{{"text", "no program"}, {"orphan", "#!/no/such/interpreter\n"}})
        std::filesystem::permissions(folder.Put(name, text), std::filesystem::perms::owner_all);
    for (auto const& [exe, words] : Rows{{"", "no path"},
                                         {folder / "missing", "no such file"},
                                         {folder.Put("plain", "#!/bin/sh\n"), "can't be executed"},
                                         {folder / "text", "is no program"},
                                         {folder / "orphan", "to be run with is missing"},
                                         {folder.Path(), "is a folder"}}) {
        auto const task = IHVTask::MallocTask();
        auto const error = task->Launch(exe, {}, true);
        EXPECT_THAT(error->GetErrorMessage(), testing::HasSubstr(words));
        EXPECT_EQ(task->WaitExit(0), HVErrFailure);
        EXPECT_EQ(IHVTask::LaunchTask(exe, {}), nullptr);
    }
}

TEST(HVTask, TerminateEndsTheWholeGroup) {
    // Each prints the id of the process that must be gone afterwards.
    for (auto const& [script, within] : std::vector<std::pair<char const*, Clock::duration>>{
             {"sleep 60 & echo $!; wait", 400ms}, // a launcher's grandchild
             {"(sleep 60 & echo $!)", 400ms},     // one whose parent has ended
             // One that ignores the request and holds no pipe.
             {"(trap '' TERM; exec sleep 60 >/dev/null 2>&1) & echo $!; exec sleep 60", 3s},
             {"echo $$; kill -STOP $$", 3s}}) {
        ShellRun run;
        run.Start(script);
        pid_t const pid = run.PrintedPid();
        auto const begin = Clock::now();
        run.task->Terminate();
        run.task->Terminate();
        EXPECT_EQ(run.task->WaitExit(10'000), HVErrSuccess) << script;
        EXPECT_LT(Clock::now() - begin, within) << script;
        EXPECT_TRUE(GoneWithin(pid, 100ms)) << script;
    }
}

TEST(HVTask, EndsThoughAStrangerHoldsThePipes) {
    ShellRun run;
    run.Start("setsid sh -c 'echo $$; exec sleep 60' & sleep 0.2");
    EXPECT_EQ(run.task->WaitExit(10'000), HVErrSuccess);
    kill(run.PrintedPid(), SIGKILL);
}

TEST(HVTask, ChildrenDieWithTheApplication) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    auto const report = std::filesystem::temp_directory_path() / ("hvtask" + std::to_string(getpid()));
    setenv("HVTASK_REPORT", report.c_str(), 0); // the application is another process, which keeps the name
    EXPECT_EXIT(
        {
            ShellRun run;
            run.Start("trap '' TERM; sleep 60 & echo $!; wait");
            std::ofstream(std::getenv("HVTASK_REPORT")) << run.PrintedPid();
            raise(SIGKILL);
        },
        testing::KilledBySignal(SIGKILL), "");
    pid_t child = 0;
    std::ifstream(report) >> child;
    EXPECT_GT(child, 0);
    EXPECT_TRUE(GoneWithin(child, 5s));
    std::filesystem::remove(report);
}

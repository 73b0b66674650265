#include "Folder.h"
#include "HVSystemProcess.h"
#include "IHVTask.h"
#include "Recorder.h"
#include "Text.h"

#include <gmock/gmock.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Halvorn;

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

/// As proc(5) has it: 'Z' for a defunct process, 0 for none.
char StateOf(pid_t pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/stat");
    std::string const text((std::istreambuf_iterator<char>(status)), {});
    auto const name = text.rfind(") ");
    return name == std::string::npos ? '\0' : text[name + 2];
}

/// Long before it would end by itself. A defunct process whose parent is slow to reap it does not count.
bool GoneSoon(pid_t pid) {
    auto const gone = [pid] {
        char const state = StateOf(pid);
        return state == '\0' || state == 'Z';
    };
    return Eventually(gone);
}

/// Has a forked copy do the work of an application. Its wait status, and the numbers that it has written.
std::pair<int, std::vector<pid_t>> Application(std::function<void(std::ofstream&)> const& work) {
    Folder const folder;
    pid_t const application = fork();
    if (application == 0) {
        std::ofstream report(folder / "report");
        work(report);
        std::_Exit(1);
    }
    int status = 0;
    waitpid(application, &status, 0);
    std::ifstream report(folder / "report");
    std::vector<pid_t> numbers;
    for (pid_t number = 0; report >> number;)
        numbers.push_back(number);
    return {status, numbers};
}

} // namespace

TEST(HVTask, DeliversBothStreamsBeforeTheEndIsReported) {
    // A descriptor of the application that a child must not see, and signals that it must not be deaf to.
    int const stray = open("/dev/null", O_RDONLY);
    auto* const handler = std::signal(SIGUSR1, SIG_IGN);
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGUSR2);
    pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
    for (auto const& [script, expected] : Rows{
             {"printf out; printf err >&2; exit 3", "out|err"},
             {"cat", "|"}, // standard input is empty
             {"printf '%s' \"$PYTHONUTF8\"", "1|"},
             {"exec 1>&-; printf late >&2", "|late"}, // closes its output and lives on
             {"(sleep 0.2; printf grandchild) & printf child", "childgrandchild|"},
             {"ls /proc/self/fd | tr '\\n' ' '", "0 1 2 3 |"}, // 3 is the folder that ls reads
             {"ps -o pgid= -p $$ | tr -d ' \\n' | grep -qx $$ && printf own", "own|"},
             {"kill -USR1 $$; printf deaf", "|"},
             {"kill -USR2 $$; printf deaf", "|"},
             {"(: </dev/tty) 2>/dev/null || printf none", "none|"}, // there is no terminal to ask at
         }) {
        ShellRun run;
        run.Start(script);
        EXPECT_EQ(run.task->WaitExit(HVInfiniteTimeOut), HVErrSuccess);
        EXPECT_EQ(Text(run.out, run.err), expected) << script;
    }
    close(stray);
    std::signal(SIGUSR1, handler);
    pthread_sigmask(SIG_UNBLOCK, &blocked, nullptr);
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
    // Each prints the id of the process that must be gone afterwards, and a word when that is first asked to
    // end.
    for (
        auto const& [script, word] : Rows{
            // A launcher's grandchild, one whose parent has ended, one that is halted.
            {R"(sh -c 'trap "trap : TERM; echo asked; exit" TERM; echo $$; while :; do sleep 0.1; done' & wait)",
             "asked\n"},
            {R"((sh -c 'trap "trap : TERM; echo asked; exit" TERM; echo $$; while :; do sleep 0.1; done' &))",
             "asked\n"},
            {R"(trap "trap : TERM; echo asked; exit" TERM; echo $$; kill -STOP $$; :)", "asked\n"},
            // One that ignores the request and holds no pipe.
            {"(trap '' TERM; exec sleep 60 >/dev/null 2>&1) & echo $!; exec sleep 60", ""}}) {
        ShellRun run;
        run.Start(script);
        pid_t const pid = run.PrintedPid();
        run.task->Terminate();
        run.task->Terminate();
        EXPECT_EQ(run.task->WaitExit(30'000), HVErrSuccess) << script;
        EXPECT_TRUE(GoneSoon(pid)) << script;
        EXPECT_EQ(run.out, std::to_string(pid) + "\n" + word) << script;
    }
}

TEST(HVTask, SuspendedChildrenWait) {
    ShellRun running;
    ShellRun late;
    running.Start("echo 1; kill -STOP $$; echo end");
    ASSERT_TRUE(Eventually([&] { return running.any.load(); }));
    IHVTask::SuspendAll(true);
    late.Start("exec sleep 0.1");
    EXPECT_EQ(late.task->WaitExit(300), HVErrTimeout);
    IHVTask::SuspendAll(false);
    EXPECT_EQ(running.task->WaitExit(30'000), HVErrSuccess);
    EXPECT_EQ(late.task->WaitExit(30'000), HVErrSuccess);
    EXPECT_EQ(running.out, "1\nend\n");
}

TEST(HVTask, EndsThoughAStrangerHoldsThePipes) {
    ShellRun run;
    run.Start("setsid sh -c 'echo $$; exec sleep 60' & sleep 0.2");
    EXPECT_EQ(run.task->WaitExit(30'000), HVErrSuccess);
    kill(run.PrintedPid(), SIGKILL);
}

TEST(HVTask, ItsNumberIsTakenUntilItsGroupIsGone) {
    Folder const folder;
    // The one that lives on ignores the request, holds no pipe, and sees when the number is free.
    ShellRun run;
    run.Start(
        "(trap '' TERM; echo $$; exec >/dev/null 2>&1; while kill -0 $$; do sleep 0.01; done; echo free >" +
        (folder / "word") + ") & exec sleep 60");
    pid_t const pid = run.PrintedPid();
    run.task->Terminate();
    EXPECT_EQ(run.task->WaitExit(30'000), HVErrSuccess);
    EXPECT_EQ(folder.Get("word"), "") << "it would be signalled";
    EXPECT_EQ(StateOf(pid), '\0');
}

TEST(HVTask, NeedsNoMoreThanItsDescriptors) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer itself needs descriptors to look at an object's type";
#endif
    {
        ShellRun first; // the guardian has its own
        first.Start("true");
        EXPECT_EQ(first.task->WaitExit(30'000), HVErrSuccess);
    }
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    rlimit const few{64, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &few);
    std::vector<int> taken;
    int failures = 0;
    // One for the wake-up, four for the streams, one that tells the end. An earlier run's may still come
    // back.
    for (std::size_t left = 0; left <= 6; ++left) {
        for (int fd = 0; (fd = open("/dev/null", O_RDONLY | O_CLOEXEC)) >= 0;)
            taken.push_back(fd);
        ASSERT_GT(taken.size(), left);
        for (std::size_t n = 0; n < left; ++n) {
            close(taken.back());
            taken.pop_back();
        }
        ShellRun run;
        auto const start =
            run.task->Launch("/bin/sh", {"-c", "trap '' TERM; echo $$; sleep 60 & wait"}, true);
        if (start->Succeed()) {
            pid_t const pid = run.PrintedPid();
            EXPECT_TRUE(GroupIsAlive(pid)) << "it can't be looked at";
            run.task->Terminate();
            EXPECT_EQ(run.task->WaitExit(30'000), HVErrSuccess) << left;
            EXPECT_TRUE(GoneSoon(pid));
        } else {
            ++failures;
            EXPECT_LT(left, 5U);
            EXPECT_THAT(start->GetErrorMessage(), testing::HasSubstr("Too many open files"));
        }
    }
    EXPECT_GT(failures, 0);
    for (int const fd : taken)
        close(fd);
    setrlimit(RLIMIT_NOFILE, &before);
}

TEST(HVTask, AForkedCopyIsNotTheApplication) {
    ShellRun run;
    run.Start("echo $$; exec sleep 60");
    pid_t const child = run.PrintedPid();
    auto [status, own] = Application([](std::ofstream& report) {
        ShellRun its; // it has children of its own, and ends those
        its.Start("echo $$; exec sleep 60");
        report << its.PrintedPid() << std::flush;
        std::exit(7);
    });
    EXPECT_EQ(WEXITSTATUS(status), 7);
    ASSERT_EQ(own.size(), 1U);
    EXPECT_TRUE(GoneSoon(own[0]));
    EXPECT_EQ(run.task->WaitExit(0), HVErrTimeout);
    EXPECT_EQ(StateOf(child), 'S') << "the copy has ended the application's child";
    run.task->Terminate();
    EXPECT_EQ(run.task->WaitExit(30'000), HVErrSuccess);
}

TEST(HVTask, ChildrenDieWithTheApplication) {
    auto [status, pids] = Application([](std::ofstream& report) {
        // One has ended, and its number may be another's: what it has left behind stands for that one.
        ShellRun ended;
        ended.Start("sleep 60 >/dev/null 2>&1 & echo $!");
        ended.task->WaitExit(HVInfiniteTimeOut);
        ShellRun run;
        run.Start("trap '' TERM; sleep 60 & echo $!; wait");
        // A copy that lives on does not stand for the application.
        pid_t const copy = fork();
        if (copy == 0)
            for (;;)
                pause();
        report << ended.PrintedPid() << ' ' << run.PrintedPid() << ' ' << copy << std::flush;
        raise(SIGKILL);
    });
    ASSERT_EQ(pids.size(), 3U);
    EXPECT_EQ(WTERMSIG(status), SIGKILL);
    EXPECT_TRUE(GoneSoon(pids[1]));
    EXPECT_EQ(StateOf(pids[0]), 'S') << "the guardian was not told of an end";
    kill(pids[0], SIGKILL);
    kill(pids[2], SIGKILL);
}

TEST(HVTask, ChildrenEndBeforeTheTemporaryFolderGoes) {
    Folder const folder;
    auto [status, pids] = Application([&](std::ofstream&) {
        ShellRun run;
        run.Start("trap 'ls -d " + IHVFileProvider::GetTmpPath() + " > " + (folder / "seen") +
                  "; exit' TERM; echo $$; while :; do sleep 0.01; done");
        std::exit(run.PrintedPid() > 0 ? 7 : 1);
    });
    EXPECT_EQ(WEXITSTATUS(status), 7);
    std::string const seen = folder.Get("seen");
    EXPECT_NE(seen, "") << "the folder went first";
    EXPECT_FALSE(std::filesystem::exists(seen.substr(0, seen.find('\n'))));
}

#include "HVWarmTool.h"
#include "Folder.h"
#include "HVDownloadPlugin.h"
#include "HVToolLanes.h"
#include "HVToolRun.h"
#include "HVToolStop.h"
#include "IHVAnalysisGroup.h"
#include "IHVStringHelper.h"
#include "Recorder.h"
#include "Text.h"

#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>
#include <future>
#include <set>
#include <unistd.h>

using namespace Halvorn;
using namespace std::chrono_literals;
using State = IHVWarmTool::State;
using Clock = std::chrono::steady_clock;

namespace {

/// As much of the tool as the extension asks for. Its last argument is a program in Python.
constexpr char kTool[] = R"(#!/usr/bin/env python3
import glob, importlib, os, sys, types
def module(name, **content):
    made = sys.modules[name] = types.ModuleType(name)
    vars(made).update(content)
    return made
class YoutubeDL:
    def __init__(self, params=None): sys.exit(2)
def main(argv=None):
    exec(sys.argv[-1], {"os": os, "sys": sys})
none = lambda *_: []
tool = module("yt_dlp", YoutubeDL=YoutubeDL, main=main, _load_all_plugins=None)
tool.globals = module("yt_dlp.globals", plugin_dirs=types.SimpleNamespace(value=["default"]))
tool.plugins = module("yt_dlp.plugins", COMPAT_PACKAGE_NAME="a", PACKAGE_NAME="b", default_plugin_paths=none)
tool.utils = module("yt_dlp.utils", get_executable_path=lambda: "/nowhere", get_user_config_dirs=none,
                    get_system_config_dirs=none)
if "--plugin-dirs" in sys.argv:
    open(os.path.join(os.path.dirname(os.path.abspath(__file__)), "residents"), "a").write(f"{os.getpid()}\n")
    sys.path[1:1] = glob.glob(sys.argv[sys.argv.index("--plugin-dirs") + 1] + "/*")
    importlib.import_module("yt_dlp_plugins.extractor.reelhaul_warm")
    YoutubeDL()
main()
)";

} // namespace

class WarmTool : public testing::Test {
protected:
    WarmTool() {
        Install(kTool);
        HVDownloadPlugin::SharedPlugin()->SetLocalPluginInstallPath(folder_.Path());
        IHVDownloadPlugin::UseLocalPluginForThisProcess(true);
    }
    ~WarmTool() override {
        IHVWarmTool::TurnOff();
        IHVDownloadPlugin::UseLocalPluginForThisProcess(true);
    }

    void Install(std::string const& text) const {
        folder_.Put("fresh", text);
        std::filesystem::permissions(folder_ / "fresh", std::filesystem::perms::owner_all);
        std::filesystem::rename(folder_ / "fresh", folder_ / "yt-dlp");
    }
    HVToolRun NewRun(std::string const& program) const { return {folder_ / "yt-dlp", {program}}; }
    /// What the program came to: status, signal, and what it printed.
    std::string Outcome(std::string const& program, std::shared_ptr<HVToolLanes> const& lanes = {}) const {
        auto run = NewRun(program);
        run.SetLanes(lanes);
        auto const result = run.Run();
        return Text(result.end.known, result.end.status, result.end.signal, result.output, result.errors);
    }
    /// The process that the run comes from.
    int Parent() const { return std::stoi(NewRun("print(os.getppid())").Run().output); }
    static bool Await(State state) {
        return Eventually([state] { return IHVWarmTool::GetStatus().state == state; });
    }
    void TurnOn() const {
        IHVWarmTool::TurnOn();
        ASSERT_TRUE(Await(State::Ready)) << IHVWarmTool::GetStatus().reason;
    }
    auto Residents() const {
        std::string const lines = folder_.Get("residents");
        return std::count(lines.begin(), lines.end(), '\n');
    }

    Folder const folder_;
};

TEST_F(WarmTool, ARunOutOfItIsARun) {
    EXPECT_EQ(IHVWarmTool::GetStatus().state, State::Off);
    EXPECT_EQ(Parent(), getpid());
    TurnOn();
    EXPECT_NE(Parent(), getpid());
    for (auto const& [outcome, expected] :
         Rows{{Outcome("print(1); print(2, file=sys.stderr); sys.exit(3)"), "1|3|0|1\n|2\n"},
              {Outcome("sys.exit('why')"), "1|1|0||why\n"},
              {Outcome("os.kill(os.getpid(), 9)"), "1|0|9||"},
              {Outcome("print(os.getpid() == os.getsid(0) == os.getpgid(0), sys.stdin.read() == '')"),
               "1|0|0|True True\n|"},
              {Outcome("print(os.getcwd() == '" + std::filesystem::current_path().string() + "')"),
               "1|0|0|True\n|"},
              {Outcome("sys.exit(sys.argv[1].count('x') != 100000)#" + std::string(100000 - 2, 'x')),
               "1|0|0||"}})
        EXPECT_EQ(outcome, expected);
}

TEST_F(WarmTool, AStopEndsAllOfItsGroup) {
    TurnOn();
    for (std::string const ignored : {"", "import signal; signal.signal(15, signal.SIG_IGN); "}) {
        HVToolStop stop;
        auto run =
            NewRun(ignored + "import subprocess; print(subprocess.Popen(['sleep', '60']).pid, flush=True); "
                             "import time; time.sleep(60)");
        std::promise<int> helper;
        std::string printed; // an interpreter that does not buffer writes it in pieces
        run.SetOutputHandler([&](std::string const& text) {
            printed += text;
            if (text.ends_with('\n'))
                helper.set_value(std::stoi(printed));
        });
        run.SetStop(&stop);
        auto over = std::async(std::launch::async, [&] { return run.Run(); });
        int const helperId = helper.get_future().get();
        stop.Request();
        auto const result = over.get();
        EXPECT_EQ(result.end.signal, ignored.empty() ? SIGTERM : SIGKILL);
        EXPECT_TRUE(Eventually([helperId] { return kill(helperId, 0) != 0; }));
    }
}

TEST_F(WarmTool, AProcessServesManyRunsUntilOneLeavesSomethingOrIsStopped) {
    TurnOn();
    // A process from before that serves one run.
    ASSERT_TRUE(Eventually([] { return IHVWarmTool::GetStatus().complete; }));
    auto lanes = std::make_shared<HVToolLanes>();
    auto const run = [&](std::string const& program, HVToolStop* stop = nullptr) {
        auto one = NewRun(program);
        one.SetLanes(lanes);
        one.SetStop(stop);
        return one.Run();
    };
    auto const process = [&] { return std::stoi(run("print(os.getpid())").output); };
    constexpr char kCrash[] = "os.kill(os.getpid(), 9)";
    std::set<int> used;
    for (std::string const program :
         {"sys.exit(3)", kCrash, "os.open('/dev/null', 0)", "import time; time.sleep(600)"}) {
        int const number = process();
        EXPECT_EQ(process(), number);
        EXPECT_TRUE(used.insert(number).second) << program;
        HVToolStop stop;
        if (program.starts_with("import"))
            stop.Request();
        auto const result = run(program, &stop);
        EXPECT_EQ(result.LostInLane(), program == kCrash) << program;
        EXPECT_EQ(result.end.status, program == "sys.exit(3)" ? 3 : 0);
        EXPECT_NE(kill(number, 0), 0) << program;
    }
    EXPECT_FALSE(run(kCrash).LostInLane()); // the first run of its process
    int const last = process();
    lanes = nullptr;
    EXPECT_NE(kill(last, 0), 0);
}

TEST_F(WarmTool, AddressesOfAGroupShareProcesses) {
    TurnOn();
    auto const group = IHVAnalysisGroup::MallocAnalysisGroup();
    group->SetAnalysesAtOnce(2);
    Recorder recorder;
    std::vector<std::shared_ptr<IHVDownloadTask>> tasks;
    for (int i = 0; i < 10; ++i) {
        tasks.push_back(IHVDownloadTask::MallocDownloadTask(
            R"(print('{"title":"%d","formats":[{"format_id":"1","ext":"mp4"}]}' % os.getpid()))"));
        tasks.back()->SetDelegate(&recorder);
        EXPECT_TRUE(group->AddTask(tasks.back())->Succeed());
    }
    // What has ended may still wait for its turn to be reported.
    EXPECT_TRUE(Eventually([&] { return recorder.Events().size() == 3 * tasks.size(); }));
    std::multiset<std::string> processes;
    for (auto const& event : recorder.Events())
        if (event.starts_with("item "))
            processes.insert(event.substr(5));
    EXPECT_EQ(processes.size(), tasks.size()) << recorder.Story();
    std::set<std::string> const different(processes.begin(), processes.end());
    EXPECT_LE(different.size(), tasks.size() / 2); // two, where none is slow to answer
    for (auto const& process : different)          // none waits for further runs
        EXPECT_TRUE(Eventually([&process] { return kill(std::stoi(process), 0) != 0; }));
}

TEST_F(WarmTool, IsNotTriedAgainAfterThreeDeathsThatFollowEachOther) {
    std::vector<int> served{1, 1, 20, 1, 1}; // the third one has done good service
    while (!served.empty()) {
        TurnOn();
        int resident = getpid();
        for (int i = 0; i < served.front(); ++i)
            resident = Parent();
        ASSERT_NE(resident, getpid());
        kill(resident, SIGKILL);
        EXPECT_TRUE(Eventually([] { return IHVWarmTool::GetStatus().state != State::Ready; }));
        served.erase(served.begin());
        if (!served.empty()) { // the run that starts the next one comes first
            EXPECT_EQ(Parent(), getpid());
        }
    }
    EXPECT_EQ(IHVWarmTool::GetStatus().state, State::NotPossible);
    EXPECT_THAT(IHVWarmTool::GetStatus().reason, testing::HasSubstr("died three times"));
    EXPECT_EQ(Parent(), getpid());
    EXPECT_EQ(Residents(), 5);
}

TEST_F(WarmTool, ARunOutlivesItAndTellsItsEnd) {
    TurnOn();
    int const resident = Parent();
    auto run = NewRun("import time; print(flush=True); time.sleep(0.3); sys.exit(7)");
    run.SetOutputHandler([resident](std::string const&) { kill(resident, SIGKILL); });
    EXPECT_EQ(run.Run().end.status, 7);
}

TEST_F(WarmTool, OneThatHangsIsGivenUpAndTheRunStartsAnew) {
    TurnOn();
    int const resident = Parent();
    kill(resident, SIGSTOP);
    auto const begin = Clock::now();
    EXPECT_EQ(Parent(), getpid());
    EXPECT_LT(Clock::now() - begin, 10s);
    EXPECT_TRUE(Eventually([resident] { return kill(resident, 0) != 0; }));
}

TEST_F(WarmTool, AnotherToolGetsAnother) {
    TurnOn();
    int const first = Parent();
    Install(std::string(kTool) + "# another\n");
    EXPECT_EQ(Parent(), getpid());
    ASSERT_TRUE(Await(State::Ready));
    EXPECT_NE(Parent(), first);
    EXPECT_TRUE(Eventually([first] { return kill(first, 0) != 0; }));
    // Variables are part of it.
    setenv("LANGUAGE", "xx", 1);
    EXPECT_EQ(Parent(), getpid());
    unsetenv("LANGUAGE");
}

TEST_F(WarmTool, SaysWhyItIsNotPossible) {
    for (auto const& [text, reason] :
         Rows{{"#!/bin/sh\necho \"$@\" >>" + (folder_ / "residents"), "no program for Python"},
              {"#!/usr/bin/env python3\n", "does not load our extension"}}) {
        Install(text);
        IHVWarmTool::TurnOn();
        ASSERT_TRUE(Await(State::NotPossible));
        EXPECT_THAT(IHVWarmTool::GetStatus().reason, testing::HasSubstr(reason));
        EXPECT_TRUE(NewRun("").Run().Succeeded());
        IHVWarmTool::TurnOff();
    }
    EXPECT_EQ(folder_.Get("residents"), "\n"); // the one run
}

TEST_F(WarmTool, RestsWithoutWork) {
    HVWarmTool::Shared().TurnOn(1);
    EXPECT_TRUE(Await(State::Ready));
    EXPECT_TRUE(Await(State::Resting));
    EXPECT_EQ(Parent(), getpid());
    EXPECT_TRUE(Await(State::Ready));
    EXPECT_NE(Parent(), getpid());
}

TEST_F(WarmTool, ServesManyThreadsAtOnce) {
    TurnOn();
    auto const lanes = std::make_shared<HVToolLanes>();
    std::vector<std::future<std::string>> runs;
    for (int thread = 0; thread < 8; ++thread)
        runs.push_back(std::async(std::launch::async, [&, thread] {
            std::string all;
            for (int i = 0; i < 5; ++i)
                all += Outcome("print(os.getppid() != " + std::to_string(getpid()) + ")",
                               thread % 2 == 0 ? lanes : nullptr);
            return all;
        }));
    for (auto& run : runs)
        EXPECT_EQ(run.get(), "1|0|0|True\n|1|0|0|True\n|1|0|0|True\n|1|0|0|True\n|1|0|0|True\n|");
    EXPECT_EQ(Residents(), 1);
}

#include "HVEntryLanes.h"

#include "LogLines.h"
#include "ScriptedTool.h"
#include "Text.h"

#include "HVDownloadTaskParser.h"

#include <set>
#include <stdexcept>

using namespace Halvorn;
using testing::ElementsAre;
using testing::HasSubstr;
using Result = HVEntryLanes::Result;

namespace {

Result Good() {
    return IHVError::MallocSucceed("", 0, "");
}

/// What several loads keep.
struct Notes {
    std::mutex mutex;
    std::vector<int> begun;
    std::set<std::thread::id> threads;

    void Begin(int number) {
        std::lock_guard const lock(mutex);
        begun.push_back(number);
        threads.insert(std::this_thread::get_id());
    }
};

} // namespace

TEST(EntryLanes, LoadSideBySideWithinTheLimitsAndReportInOrder) {
    Notes notes;
    std::vector<std::string> reports;
    HVEntryLanes lanes({4, 2}, [] { return false; });
    auto const entry = [&](int number, std::string const& site, std::function<Result()> const& work) {
        return HVEntryLanes::Entry{
            "https://u:p@" + site + ":8443/" + std::to_string(number),
            [&notes, number, work] {
                notes.Begin(number);
                return work();
            },
            [&reports, &lanes, number](Result const& result) {
                reports.push_back(Text(number, result->GetErrorMessage(), lanes.Loaded()));
                if (number == 5)
                    lanes.AddInFront({{"", Good, [&](Result const&) { reports.emplace_back("inner"); }}});
            }};
    };
    // The first two hold their site's lanes until the other site's four and one that throws are loaded.
    auto const late = [&lanes] { return Eventually([&] { return lanes.Loaded() >= 4; }) ? Good() : nullptr; };
    lanes.AddInFront({entry(0, "one", late), entry(1, "ONE", late), entry(2, "One", Good),
                      entry(3, "two", Good), entry(4, "two", []() -> Result { throw 7; }),
                      entry(5, "two", []() -> Result { throw std::runtime_error("odd"); }),
                      entry(6, "two", [] { return Result(); })});
    lanes.Run();
    std::string const succeed = "Operation was succeed";
    ASSERT_EQ(reports.size(), 8U);
    EXPECT_THAT(reports[0], HasSubstr("0|" + succeed));
    EXPECT_THAT(reports[1], HasSubstr("1|" + succeed));
    reports.erase(reports.begin(), reports.begin() + 3);
    EXPECT_THAT(reports, ElementsAre("3|" + succeed + "|7", "4|Unexpected failure: unknown failure|7",
                                     "5|Unexpected failure: odd|7", "inner",
                                     "6|Unknown error, please try again later.|8"));
    EXPECT_LE(notes.threads.size(), 4U);
    EXPECT_EQ(notes.threads.count(std::this_thread::get_id()), 0U);
}

TEST(EntryLanes, BeginNothingAfterAStop) {
    for (int const atOnce : {1, 3}) {
        Notes notes;
        std::atomic<bool> stopped = false;
        int reports = 0;
        std::vector<HVEntryLanes::Entry> entries;
        for (int i = 0; i < 20; ++i)
            entries.push_back({"",
                               [&, i] {
                                   notes.Begin(i);
                                   EXPECT_TRUE(Eventually([&] {
                                       std::lock_guard const lock(notes.mutex);
                                       return stopped ||
                                              notes.begun.size() == static_cast<std::size_t>(atOnce);
                                   }));
                                   stopped = true;
                                   return Good();
                               },
                               [&](Result const&) { ++reports; }});
        {
            HVEntryLanes lanes({atOnce, 100}, [&] { return stopped.load(); });
            lanes.AddInFront(std::move(entries));
            lanes.Run();
        }
        EXPECT_EQ(notes.begun.size(), static_cast<std::size_t>(atOnce));
        EXPECT_LE(reports, 1);
    }
}

class SideBySide : public ScriptedTool {
protected:
    /// The whole story, but for the numbers of the progress: they never fall, and end at the whole.
    std::string Run(HVAnalysisRoute route, std::function<void(HVDownloadTaskParser&)> const& setUp) {
        auto const task = std::make_shared<HVDownloadTaskParser>("script:list", route);
        Recorder recorder;
        task->SetDelegate(&recorder);
        task->SetThumbnailBytes(false);
        setUp(*task);
        EXPECT_TRUE(task->StartTask()->Succeed());
        EXPECT_EQ(task->WaitFinish(60'000), HVErrSuccess);
        failed_.clear();
        for (auto const& entry : task->FailedEntries())
            failed_ += Text(entry.number, entry.error->GetErrorMessage());
        std::string story;
        float last = 0;
        for (auto const& event : recorder.Events()) {
            bool const progress = event.find("%: ") != std::string::npos;
            story += (progress ? "+" : event) + "|";
            if (progress) {
                EXPECT_GE(std::stof(event), last);
                last = std::stof(event);
            }
        }
        EXPECT_TRUE(last == 100.0F || task->WasStopped());
        return story;
    }

    std::string failed_;
    LogLines log_;
};

TEST_F(SideBySide, TellsAListInItsOrderOnEveryRoute) {
    std::string const formats =
        R"("formats":[{"format_id":"18","ext":"mp4","vcodec":"h264","acodec":"aac"}])";
    auto const item = [&formats](std::string const& title) {
        return "line {\"title\":\"" + title + "\"," + formats + "}";
    };
    auto const table = [](std::string const& title) {
        return "line ID  EXT RESOLUTION | FILESIZE PROTO | VCODEC ACODEC\n"
               "line 18  mp4 640x360    |  1.00MiB https | avc1   mp4a\nline " +
               title + "\nline 6\n";
    };
    // The first entry ends last, and the last failure in time is not the list's last one.
    std::string const slow = "wait third\nerrline ERROR: first\nline null";
    std::string const third = "\ntouch third\n";
    Put("e1", slow);
    Put("e2", item("Two"));
    Put("e3", "errline ERROR: third\nline null" + third);
    Put("e4", item("Four"));
    Put("json", R"(line {"_type":"playlist","title":"P","entries":[{"url":"script:e1"},{"url":"script:e2"},)"
                R"({"url":"script:e3"},{"url":"script:e4"}]})");
    Put("text", "unless --list-formats\nline [download] Downloading item 1 of 4\nwhen --playlist-items 1\n" +
                    slow + "\nwhen --playlist-items 2\n" + table("Two") +
                    "when --playlist-items 3\nerrline ERROR: third" + third + "when --playlist-items 4\n" +
                    table("Four"));
    for (auto const& [route, full] : {std::pair(HVAnalysisRoute::Json, false),
                                      {HVAnalysisRoute::Json, true},
                                      {HVAnalysisRoute::PlainText, false}}) {
        bool const text = route == HVAnalysisRoute::PlainText;
        Put("list", text ? "run text" : "run json");
        std::filesystem::remove(Path("third"));
        EXPECT_EQ(Run(route,
                      [whole = full](auto& task) {
                          task.SetFullAnalysis(whole);
                          task.SetAnalysesAtOnce(3);
                      }),
                  std::string("started: Parse started|") +
                      (text ? "+|+|+|+|" : "+|item Two|+|+|item Four|+|") + "playlist " + (text ? "" : "P") +
                      " of 2|Succeed: Operation was succeed|");
        EXPECT_THAT(failed_, testing::MatchesRegex("1.ERROR: first\n?3.ERROR: third\n?"));
    }
    Put("json", R"(line {"_type":"playlist","entries":[{"url":"script:e1"},{"url":"script:e3"}]})");
    Put("list", "run json");
    std::filesystem::remove(Path("third"));
    EXPECT_EQ(Run(HVAnalysisRoute::Json, [](auto& task) { task.SetAnalysesAtOnce(2); }),
              "started: Parse started|+|+|Error: ERROR: third\n|");
}

TEST_F(SideBySide, AStopEndsAllRuns) {
    std::string entries;
    for (int i = 0; i < 9; ++i) {
        Put("e" + std::to_string(i), "touch up" + std::to_string(i) + "\nignore-term\ngrandchild hang\nhang");
        entries += (i == 0 ? "" : ",") + std::string(R"({"url":"script:e)") + std::to_string(i) + "\"}";
    }
    Put("list", R"(line {"_type":"playlist","entries":[)" + entries + "]}");
    std::thread stopper;
    EXPECT_THAT(Run(HVAnalysisRoute::Json,
                    [&](HVDownloadTaskParser& task) {
                        task.SetAnalysesAtOnce(6);
                        task.SetAnalysesPerSite(3);
                        stopper = std::thread([this, &task] {
                            for (char const* const up : {"up0", "up1", "up2"})
                                EXPECT_TRUE(AwaitFile(up));
                            task.StopTask();
                        });
                    }),
                testing::EndsWith("Cancel: User cancelled operation|"));
    stopper.join();
    EXPECT_EQ(Starts().size(), 4U); // the listing, and as many as one site may have
    EXPECT_EQ(failed_, "");
}

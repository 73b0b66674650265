#include "DownloadFixture.h"

#include "HVDownloadTaskDownload.h"
#include "HVJsonObjectSubtitle.h"

#include <stdexcept>

using namespace Halvorn;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::StartsWith;
using Lines = std::vector<std::string>;

namespace {

/// A progress line of the tool.
std::string At(std::string const& percent, std::string const& more = {}) {
    return "[download]  " + percent + " of 8.00MiB at 1.00MiB/s ETA 00:06" + more;
}

} // namespace

TEST(HVDownloadTaskDownload, MakesOneRisingPercentageOfTheToolsLines) {
    std::string const rest = "%: 1.00MiB/s ETA 00:06";
    struct Row {
        char const* what;
        Lines chunks;
        Lines expected;
    };
    Row const rows[] = {
        {"as the tool prints it",
         {"\r[download]  25.0% of  292.63KiB at  139.56KiB/s ETA 00:02  "},
         {"25%: 139.56KiB/s ETA 00:02 "}},
        {"several lines", {"x\n" + At("10.0%") + "\n" + At("20.0%") + "\n"}, {"10" + rest, "20" + rest}},
        {"two updates on one line", {At("10.0%") + At("20.0%")}, {"10" + rest}},
        {"a retry glued on",
         {At("10.0%") + "[download] Got error: of at ETA. Retrying (2/10)..."},
         {"10" + rest}},
        {"a line cut in two", {"[download]  10.0% of 8.0", "0MiB at 1.00MiB/s ETA 00:06"}, {}},
        {"the closing line", {"[download] 100% of 1.00MiB in 00:00:01 at 1.00MiB/s"}, {}},
        {"no progress",
         {"[download] Destination: name", "[download] 5% at 1MiB/s of ETA", "[download] 5% of 1MiB in 00:01",
          "[download]"},
         {}},
        {"no rate", {"[download]  10.0% of  8.00MiB at  Unknown B/s ETA Unknown"}, {"10%: "}},
        {"ETA as part of a word", {"[download]  10.0% of 8.00MiB at 1.00MiB/s ETAx 00:06"}, {"10%: 00:06"}},
        {"the later number counts", {"[download]  10.0% of 12 at 1.00MiB/s ETA 00:06"}, {"12" + rest}},
        {"falls and steps",
         {At("0.0%"), At("50%"), At("20%"), At("50.005%"), At("50.02%")},
         {"50" + rest, "50.02" + rest}},
        {"near the end", {At("99.995%"), At("100%")}, {"99.995" + rest}},
        {"the second pass", {At("100%"), At("10%"), At("100%")}, {"100" + rest}},
        {"beyond the end", {At("140%")}, {"100" + rest}},
        {"fragments", {At("50.0%", " (frag 3/4)")}, {"62.5" + rest + " (frag 3/4)"}},
        {"no count of fragments", {At("50.0%", " (frag 3/0)")}, {"100" + rest + " (frag 3/0)"}},
        {"no index of fragments", {At("50.0%", " (frag x/4)")}, {"12.5" + rest + " (frag x/4)"}},
        {"odd fragments", {At("50.0%", " (frag 1/2/3)")}, {"50" + rest + " (frag 1/2/3)"}},
        {"a huge count", {At("50.0%", " (frag 1/99999999999)")}, {"50" + rest + " (frag 1/99999999999)"}},
    };
    for (auto const& row : rows) {
        Recorder recorder;
        HVDownloadTaskDownload task(nullptr, "");
        task.SetDelegate(&recorder);
        for (auto const& chunk : row.chunks)
            task.ParseDownloadOutputInfo(chunk);
        EXPECT_THAT(recorder.Events(), ElementsAreArray(row.expected)) << row.what;
    }
    HVDownloadTaskDownload task(nullptr, "");
    EXPECT_THROW(task.ParseDownloadOutputInfo(At(".%")), std::invalid_argument);
}

class DownloadRuns : public Downloads {
protected:
    Lines Run(std::shared_ptr<IHVDownloadItem> const& item, std::string const& folder) {
        Recorder recorder;
        auto const task = IHVDownloadTask::MallocDownloadTask(item, folder);
        task->SetDelegate(&recorder);
        EXPECT_TRUE(task->StartTask()->Succeed());
        EXPECT_EQ(task->WaitFinish(60'000), HVErrSuccess);
        return recorder.Events();
    }
};

TEST_F(DownloadRuns, LetTheFileDecide) {
    struct Row {
        std::string script;
        std::string title;
        std::string end;
        std::set<std::string> files;
    };
    Row const rows[] = {
        {"write . 10", "A", "Succeed: ", {"A.mp4"}},
        {"write . 10;errline ERROR: odd;exit 1", "A", "Succeed: ", {"A.mp4"}},
        {"write . 10;write .f136.mp4 5;die 11", "A", "Succeed: ", {"A.mp4"}},
        {"write . 10;write +.meta 5", "a/b: \"c\"", "Succeed: ", {"a_b_ _c_.mp4"}},
        {"write . 10;write .fr.vtt 5", "A", "Succeed: ", {"A.mp4", "A.fr.vtt"}},
        {"write . 10;write +.fr.vtt 5", "A", "Succeed: ", {"A.mp4", "A.fr.vtt"}},
        {"", "A", "Error: Download error: ", {}},
        {"err ERROR: 100%s;exit 1", "A", "Error: Download error: ERROR: 100%s", {}},
        {"write +.part 10;write +.part-Frag2.part 3;write .f1.mp4 5;exit 1",
         "A",
         "Error: Download error: ",
         {}},
        {"flood 3;err odd", "A", "Error: Download error: odd", {}},
        {"out [download] % of 1 at 1MiB/s ETA 1\\n;write +.part 5;hang",
         "A",
         "Error: The tool's output could not be read",
         {}},
    };
    auto const captions = std::make_shared<HVJsonObjectSubtitle>(
        IHVJsonReader::ReadJsonString(R"({"fr":[{"ext":"vtt","url":"u","name":"French"}]})", nullptr));
    for (auto const& row : rows) {
        auto const item = Item("scripted:" + row.script, row.title);
        auto const subtitle = std::make_shared<HVDownloadSubtitle>();
        EXPECT_TRUE(subtitle->LoadFromJsonObject("fr", captions));
        EXPECT_TRUE(subtitle->SetCurrentSubtitleFormat("vtt"));
        item->AddDownloadSubtitle(subtitle);
        item->SetCurrentSubtitleIndex(0);
        auto const events = Run(item, out_);
        EXPECT_EQ(events.size(), 2U) << row.script;
        EXPECT_EQ(events.front(), "started: Download started.");
        EXPECT_THAT(events.back(), StartsWith(row.end)) << row.script;
        EXPECT_EQ(FilesIn(out_), row.files) << row.script;
        EXPECT_EQ(item->GetDownloadFile(), row.files.empty() ? "" : out_ + "/" + *row.files.rbegin())
            << row.script;
        EXPECT_TRUE(NothingLeft()) << row.script;
        std::filesystem::remove_all(out_);
        std::filesystem::create_directory(out_);
    }
    EXPECT_THAT(Starts().front(),
                testing::MatchesRegex("--write-auto-sub --sub-lang fr --sub-format vtt --sleep-interval 10 "
                                      "--no-live-from-start --format 18 --no-check-certificates --output " +
                                      IHVFileProvider::GetTmpPath() +
                                      "/..........\\.mp4 scripted:write . 10"));
    EXPECT_THAT(Run(IHVDownloadItem::MallocDownloadItem("scripted:"), out_).back(),
                "Error: No download format settings.");
    UseToolOf(out_);
    EXPECT_THAT(Run(Item("scripted:", "A"), out_).back(), HasSubstr("there is no such file"));
}

TEST_F(DownloadRuns, StopAtAnyMoment) {
    struct Row {
        std::string script;
        std::string end;
    };
    Row const rows[] = {
        {"write +.part 10;touch up;hang", "Cancel: User cancelled operation"},
        {"ignore-term;write +.part 10;touch up;hang", "Cancel: User cancelled operation"},
        {"grandchild hang;write .temp.mp4 10;touch up;hang", "Cancel: User cancelled operation"},
        {"write . 10;touch up;hang", "Succeed: Operation was succeed"},
    };
    for (auto const& row : rows) {
        Recorder recorder;
        auto const task = IHVDownloadTask::MallocDownloadTask(Item("scripted:" + row.script, "A"), out_);
        task->SetDelegate(&recorder);
        EXPECT_TRUE(task->StartTask()->Succeed());
        EXPECT_TRUE(AwaitFile("up"));
        auto const begin = std::chrono::steady_clock::now();
        task->StopTask();
        EXPECT_EQ(task->WaitFinish(60'000), HVErrSuccess);
        // A child that ignores the request is not waited for.
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(1400)) << row.script;
        EXPECT_EQ(recorder.Events().back(), row.end) << row.script;
        EXPECT_TRUE(NothingLeft()) << row.script;
        std::filesystem::remove(Path("up"));
    }
    EXPECT_EQ(FilesIn(out_), std::set<std::string>{"A.mp4"});
}

TEST_F(DownloadRuns, KeepAFinishedFileThatHasNoPlace) {
    Put("file");
    for (std::string const& folder : {Path("missing"), Path("file"), std::string()}) {
        auto const item = Item("scripted:write . 10;write +.part 3;write .fr.vtt 3", "A");
        std::string const error = Run(item, folder).back();
        auto const name = error.find("The file stays at \"");
        ASSERT_NE(name, std::string::npos) << error;
        auto const path = error.substr(name + 19, error.size() - name - 21);
        EXPECT_TRUE(Eventually([] { return FilesIn(IHVFileProvider::GetTmpPath()).size() == 1; }));
        EXPECT_EQ(std::filesystem::file_size(path), 10U) << error;
        EXPECT_EQ(item->GetDownloadFile(), "");
        std::filesystem::remove(path);
    }
}

TEST_F(DownloadRuns, GiveTwoItemsOfOneTitleTwoFiles) {
    std::vector<std::shared_ptr<IHVDownloadItem>> items;
    std::vector<std::shared_ptr<IHVDownloadTask>> tasks;
    for (int i = 0; i < 12; ++i) {
        items.push_back(Item("scripted:wait go;write . " + std::to_string(i), "A"));
        tasks.push_back(IHVDownloadTask::MallocDownloadTask(items.back(), out_));
        EXPECT_TRUE(tasks.back()->StartTask()->Succeed());
    }
    EXPECT_TRUE(Eventually([&] { return Running().first == 12; }));
    Put("go");
    for (std::size_t i = 0; i < tasks.size(); ++i) {
        EXPECT_EQ(tasks[i]->WaitFinish(60'000), HVErrSuccess);
        EXPECT_EQ(std::filesystem::file_size(items[i]->GetDownloadFile()), i);
    }
    EXPECT_EQ(FilesIn(out_).size(), 12U);
}

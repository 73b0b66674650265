#include "ScriptedTool.h"

#include "HVDownloadTaskParser.h"
#include "IHVLogConfig.h"

#include <future>
#include <stdexcept>

using namespace Halvorn;
using testing::ElementsAre;
using testing::ElementsAreArray;
using Lines = std::vector<std::string>;

namespace {

constexpr char kStarted[] = "started: Parse started";
constexpr char kSucceed[] = "Succeed: Operation was succeed";
constexpr char kCancel[] = "Cancel: User cancelled operation";

std::string Item(std::string const& title, std::string const& more = {}) {
    return R"({"title":")" + title +
           R"(","duration":60,"formats":[{"format_id":"18","ext":"mp4","vcodec":"h264","acodec":"aac"}])" +
           more + "}";
}

std::string PlayList(std::string const& entries) {
    return R"({"_type":"playlist","title":"P","entries":[)" + entries + "]}";
}

} // namespace

class Analysis : public ScriptedTool {
protected:
    Analysis() {
        Put("one", "line " + Item("One"));
        Put("two", "line " + Item("Two"));
        Put("bad", "line null\nerrline ERROR: private 100%s\nexit 1");
        IHVLogConfig::SetHandler([](auto, auto const&) {});
    }
    ~Analysis() override { IHVLogConfig::SetHandler(nullptr); }

    std::shared_ptr<IHVDownloadTask> Start(std::string const& url, HVAnalysisRoute route) {
        auto task = std::make_shared<HVDownloadTaskParser>(url, route);
        task->SetDelegate(&recorder_);
        task->SetJSRuntimePath("/js/deno");
        EXPECT_TRUE(task->StartTask()->Succeed());
        return task;
    }
    Lines Run(std::string const& url, HVAnalysisRoute route = HVAnalysisRoute::Json) {
        EXPECT_EQ(Start(url, route)->WaitFinish(60'000), HVErrSuccess);
        return recorder_.Events();
    }

    Recorder recorder_;
};

TEST_F(Analysis, TellsTheDelegateInOrder) {
    struct Row {
        char const* what;
        std::string script;
        Lines expected; // between the start and the end
        std::string end;
    };
    std::string const failed = "Error: err:Unknown error, please try again later.";
    std::string const url = R"({"url":"script:)";
    Row const rows[] = {
        {"a single item", "line " + Item("A"), {"item A"}, kSucceed},
        {"byte by byte", "drip 0 " + Item("A"), {"item A"}, kSucceed},
        {"a long error stream", "errflood 2\nline " + Item("A"), {"item A"}, kSucceed},
        {"a long document",
         "line " + Item("A", ",\"x\":[" + std::string(3'000'000, ' ') + "1]"),
         {"item A"},
         kSucceed},
        {"a failing status", "line " + Item("A") + "\nexit 1", {"item A"}, kSucceed},
        {"closes its output and lives on",
         "line " + Item("A") + "\nclose-out\nsleep 30",
         {"item A"},
         kSucceed},
        {"a grandchild prints the end",
         "out {\"title\":\"A\",\ngrandchild drip 1 " + Item("B").substr(1),
         {"item A"},
         kSucceed},
        {"entries, one of which fails",
         "line " + PlayList(url + "one\"}," + url + "bad\"}," + url + "two\"}"),
         {"item One", "33.3333%: Loading 1 of the playlist with 3 items",
          "66.6667%: Loading 2 of the playlist with 3 items", "item Two",
          "100%: Loading 3 of the playlist with 3 items", "playlist P of 2"},
         kSucceed},
        {"entries that are null",
         "when --playlist-items 1\nline " + PlayList("null") + "\nwhen --playlist-items 2\nline " +
             PlayList(Item("Whole")) + "\nunless --playlist-items\nline " + PlayList("null,{}"),
         {"50%: Loading 1 of the playlist with 2 items", "item Whole",
          "100%: Loading 2 of the playlist with 2 items", "playlist P of 1"},
         kSucceed},
        {"entries that all fail",
         "line " + PlayList(url + "bad\"}," + url + "bad\"}"),
         {"50%: Loading 1 of the playlist with 2 items", "100%: Loading 2 of the playlist with 2 items"},
         "Error: ERROR: private 100%s\n"},
        {"an entry that is no playlist",
         "unless --playlist-items\nline " + PlayList("{}") + "\nwhen --playlist-items\nline 7",
         {"100%: Loading 1 of the playlist with 1 items"},
         "Error: Unknown error, please try again later."},
        {"an empty playlist", "line " + PlayList(""), {}, "Error: NO play list item found."},
        {"an empty playlist and a message", "line " + PlayList("") + "\nerr 50%n", {}, "Error: 50%n"},
        {"garbage", "line <html>", {}, failed},
        {"nothing", "", {}, failed},
        {"null and a message", "line null\nerr ERROR: %s%n", {}, "Error: err:ERROR: %s%n"},
        {"no formats", R"(line {"title":"A","formats":[]})", {}, failed},
        {"formats that don't load",
         R"(line {"formats":[{"ext":"mhtml"}]})",
         {},
         "Error: Failed to load play item json data."},
        {"death in mid-document", "out {\"formats\":[\ndie 9", {}, failed},
    };
    for (auto const& row : rows) {
        Recorder recorder;
        Put("row", row.script);
        auto const task = IHVDownloadTask::MallocDownloadTask("script:row");
        task->SetDelegate(&recorder);
        EXPECT_TRUE(task->StartTask()->Succeed());
        EXPECT_EQ(task->WaitFinish(60'000), HVErrSuccess);
        Lines expected{kStarted};
        expected.insert(expected.end(), row.expected.begin(), row.expected.end());
        expected.push_back(row.end);
        EXPECT_THAT(recorder.Events(), ElementsAreArray(expected)) << row.what;
    }
}

TEST_F(Analysis, GivesTheToolExactlyTheseArguments) {
    Put("list", "unless --playlist-items\nline " + PlayList(R"({"url":"script:one"},{"title":"whole"})") +
                    "\nwhen --playlist-items\nline " + PlayList(Item("Two")));
    Run("script:list");
    std::string const ffmpeg = "--ffmpeg-location " REELHAUL_BINARY_DIR "/tests/tool/ffmpeg";
    EXPECT_THAT(
        Starts(),
        ElementsAre("--no-live-from-start --js-runtimes deno:/js/deno " + ffmpeg +
                        " --yes-playlist --flat-playlist --skip-download --sleep-interval 10 -J "
                        "--no-check-certificates script:list",
                    "-J --no-live-from-start --no-check-certificates script:one",
                    "--playlist-items 2 -J --no-live-from-start --no-check-certificates script:list"));
    ASSERT_EQ(recorder_.items.size(), 2U);
    EXPECT_EQ(recorder_.items[0]->DownloadURL(), "script:one");
    EXPECT_EQ(recorder_.items[1]->DownloadURL(), "");
    EXPECT_EQ(recorder_.items[1]->GetPlaylistURL(), "script:list");
    EXPECT_EQ(recorder_.items[1]->GetEntryIndexOfPlayList(), 1);
}

TEST_F(Analysis, TakesTheFirstThumbnailWhoseBytesCome) {
    Put("row", "line " + Item("A", R"(,"thumbnails":[{"id":"0","url":"script:fetch","width":10,"height":10},)"
                                   R"({"id":"1","url":"script:bad","width":20,"height":20}])"));
    Put("fetch", "write . 77");
    Run("script:row");
    ASSERT_EQ(recorder_.items.size(), 1U);
    EXPECT_EQ(recorder_.items[0]->GetThumbnail()->GetDataSize(), 77);
}

TEST_F(Analysis, SaysWhyItCannotRun) {
    EXPECT_THAT(Run(""), ElementsAre(kStarted, "Error: Download url is not set."));
    UseToolOf(Path("."));
    EXPECT_THAT(Run("script:one").back(), testing::HasSubstr("there is no such file"));
    UseToolOf("");
    EXPECT_THAT(Run("script:one").back(), testing::HasSubstr("no path to it is set"));
    EXPECT_TRUE(Starts().empty());
}

TEST_F(Analysis, StopsInEachStage) {
    struct Row {
        char const* what;
        HVAnalysisRoute route;
        std::string script; // makes the file "up" where the stop comes, and may wait for "go"
        Lines expected;
    };
    std::string const thumbnail = R"(,"thumbnails":[{"id":"0","url":"script:late"}])";
    std::string const hang = "touch up\nhang";
    Put("late", "touch up\nwait go\nwrite . 5");
    Put("hang", hang);
    std::string const failed = "Error: err:Unknown error, please try again later.";
    Row const rows[] = {
        {"the first run", HVAnalysisRoute::Json, hang, {kStarted, failed}},
        {"one that ignores the request", HVAnalysisRoute::Json, "ignore-term\n" + hang, {kStarted, failed}},
        {"a launcher's child", HVAnalysisRoute::Json, "grandchild hang\n" + hang, {kStarted, failed}},
        {"a single item's thumbnail",
         HVAnalysisRoute::Json,
         "line " + Item("A", thumbnail),
         {kStarted, kCancel, kSucceed}},
        {"an item that fails then",
         HVAnalysisRoute::Json,
         R"(line {"formats":[{}])" + thumbnail + "}",
         {kStarted, "Error: Failed to load play item json data."}},
        {"an entry's run",
         HVAnalysisRoute::Json,
         "line " + PlayList(R"({"url":"script:one"},{"url":"script:hang"},{})"),
         {kStarted, "item One", "33.3333%: Loading 1 of the playlist with 3 items",
          "66.6667%: Loading 2 of the playlist with 3 items", kCancel}},
        {"the text of an item",
         HVAnalysisRoute::PlainText,
         "unless --list-formats\nline Downloading 1 format(s)\nwhen --list-formats\n" + hang,
         {kStarted, "100%: Loading item 1 of 1", kCancel}},
    };
    for (auto const& row : rows) {
        Recorder recorder;
        Put("row", row.script);
        auto const task = std::make_shared<HVDownloadTaskParser>("script:row", row.route);
        task->SetDelegate(&recorder);
        task->StopTask(); // before the start: of no effect
        EXPECT_TRUE(task->StartTask()->Succeed());
        EXPECT_TRUE(AwaitFile("up")) << row.what;
        EXPECT_EQ(task->WaitFinish(1), HVErrTimeout) << row.what;
        task->StopTask();
        Put("go");
        EXPECT_EQ(task->WaitFinish(60'000), HVErrSuccess) << row.what;
        EXPECT_THAT(recorder.Events(), ElementsAreArray(row.expected)) << row.what;
        std::filesystem::remove(Path("up"));
        std::filesystem::remove(Path("go"));
    }
    // Between two entries, out of the delegate's own operation.
    Put("row", "line " + PlayList(R"({"url":"script:one"},{"url":"script:two"})"));
    Recorder recorder;
    auto const task = IHVDownloadTask::MallocDownloadTask("script:row");
    recorder.onEvent = [&](std::string const& event) {
        if (event == "item One")
            task->StopTask();
    };
    task->SetDelegate(&recorder);
    EXPECT_TRUE(task->StartTask()->Succeed());
    EXPECT_EQ(task->WaitFinish(60'000), HVErrSuccess);
    EXPECT_THAT(recorder.Events(),
                ElementsAre(kStarted, "item One", "50%: Loading 1 of the playlist with 2 items", kCancel));
}

TEST_F(Analysis, RunsOnceAndOutlivesItsOwner) {
    auto task = IHVDownloadTask::MallocDownloadTask("scripted:touch up;wait go;line null");
    EXPECT_EQ(task->WaitFinish(0), HVErrFailure);
    std::promise<void> ended;
    recorder_.onEvent = [&](std::string const& event) {
        if (event.rfind("Error", 0) == 0)
            ended.set_value();
    };
    task->SetDelegate(&recorder_);
    EXPECT_TRUE(task->StartTask()->Succeed());
    EXPECT_EQ(task->StartTask()->GetErrorMessage(), "The download task was started.");
    ASSERT_TRUE(AwaitFile("up"));
    std::weak_ptr<IHVDownloadTask> const observer = task;
    task = nullptr;
    Put("go");
    ended.get_future().wait();
    EXPECT_TRUE(Eventually([&] { return observer.expired(); }));
    EXPECT_EQ(recorder_.Events().size(), 2U);

    auto const finished = Start("script:one", HVAnalysisRoute::Json);
    EXPECT_EQ(finished->WaitFinish(HVInfiniteTimeOut), HVErrSuccess);
    EXPECT_FALSE(finished->StartTask()->Succeed());
}

TEST_F(Analysis, MakesOneCompletionOfAnException) {
    EXPECT_THAT(Run("scripted:line [download] Downloading item 1 of many", HVAnalysisRoute::PlainText),
                ElementsAre(kStarted, testing::StartsWith("Error: Unexpected failure")));
    // A delegate's own: in the middle, and in the completion itself.
    for (std::string const& at : {std::string("item One"), std::string(kSucceed)}) {
        Recorder thrower;
        thrower.onEvent = [&](std::string const& event) {
            if (event == at)
                throw std::runtime_error("odd delegate");
        };
        auto const task = IHVDownloadTask::MallocDownloadTask("script:one");
        task->SetDelegate(&thrower);
        EXPECT_TRUE(task->StartTask()->Succeed());
        EXPECT_EQ(task->WaitFinish(60'000), HVErrSuccess);
        EXPECT_THAT(thrower.Events(),
                    ElementsAre(kStarted, "item One",
                                at == kSucceed ? kSucceed : "Error: Unexpected failure: odd delegate"));
    }
}

TEST_F(Analysis, ReadsTheTablesForPeople) {
    std::string const thumbnails =
        "line ID Width   Height  URL\nline ----\nline 0  unknown unknown script:bad\n";
    std::string const formats =
        "line [info] Available formats for x:\n"
        "line ID  EXT RESOLUTION FPS | FILESIZE   TBR PROTO | VCODEC      VBR ACODEC     ABR\nline -----\n"
        "line 140 m4a audio only     |    1.00MiB 128k https |             0k mp4a       128k\n"
        "line 136 mp4 1280x720    25 |    4.00MiB 900k https | avc1       900k video only 0k\n"
        "line 136 mp4 1280x720    25 |    4.00MiB 900k https | avc1       900k video only 0k\n"
        "line 18  mp4 640x360     25 |    2.00MiB 500k https | avc1       400k mp4a       96k\n";
    std::string const many = "unless --list-formats\nline [download] Downloading item 1 of 2\n";
    struct Row {
        char const* what;
        std::string script;
        Lines expected;
    };
    std::string const one =
        "unless --list-formats\nline x: Downloading 1 format(s): 18\nwhen --list-formats\n";
    std::string const loaded = "100%: Loading item 1 of 1";
    Row const rows[] = {
        {"an item",
         one + thumbnails + formats + "line A name\nline 1:02:03",
         {loaded, "item A name", kSucceed}},
        {"the tables the other way round",
         one + formats + thumbnails + "line A name\nline 6",
         {loaded, "item A name", kSucceed}},
        {"warnings",
         one + "errline WARNING: w\n" + formats + "line A name\nline 6",
         {loaded, "item A name", kSucceed}},
        {"no duration", one + formats + "line A name\nline NA", {loaded, "item A name", kSucceed}},
        {"an error beside the output",
         one + "errline WARNING: w\nerrline ERROR: e1\nerrline ERROR: e2\n" + formats,
         {loaded, "Error: ERROR: e1\nERROR: e2"}},
        {"three lines", one + "line a\nline b\nout c", {loaded, "Error: error text info: \n a\nb\nc"}},
        {"no table", one + "line a\nline b\nline c\nline d", {loaded, "Error: No format available."}},
        {"no table and a message",
         one + "err odd %s\nline a\nline b\nline c\nline d",
         {loaded, "Error: odd %s"}},
        {"a list, the second failing",
         many + "when --playlist-items 1\n" + formats +
             "line A name\nline 6\n"
             "when --playlist-items 2\nerrline ERROR: e",
         {"50%: Loading item 1 of 2", "100%: Loading item 2 of 2", "playlist  of 1", kSucceed}},
        {"no count", "errline ERROR: 5%d", {"Error: ERROR: 5%d\n"}},
        {"nothing", "", {"Error: Unknown error, please try again later."}},
    };
    for (auto const& row : rows) {
        Recorder recorder;
        Put("row", row.script);
        auto const task = IHVDownloadTask::MallocTextDownloadTask("script:row");
        task->SetDelegate(&recorder);
        EXPECT_TRUE(task->StartTask()->Succeed());
        EXPECT_EQ(task->WaitFinish(60'000), HVErrSuccess);
        Lines expected{kStarted};
        expected.insert(expected.end(), row.expected.begin(), row.expected.end());
        EXPECT_THAT(recorder.Events(), ElementsAreArray(expected)) << row.what;
        for (auto const& item : recorder.items) {
            Lines codes;
            for (int i = 0; i < item->GetDownloadFormatCount(); ++i)
                codes.push_back(item->GetDownloadFormatAtIndex(i)->FormatCode());
            EXPECT_THAT(codes, ElementsAre("136+140", "18", "140")) << row.what;
        }
    }
}

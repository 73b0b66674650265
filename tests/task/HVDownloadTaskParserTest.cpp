#include "LogLines.h"
#include "ScriptedTool.h"
#include "Text.h"

#include "HVDownloadTaskParser.h"
#include "HVDownloadThumbnail.h"
#include "IHVDownloadCookies.h"
#include "IHVDownloadOptions.h"

#include <future>
#include <stdexcept>

using namespace Halvorn;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

std::string const kStarted = "started: Parse started|";
std::string const kSucceed = "Succeed: Operation was succeed";
std::string const kCancel = "Cancel: User cancelled operation";
std::string const kFailed = "Error: err:Unknown error, please try again later.";

std::string Item(std::string const& title, std::string const& more = {}) {
    return R"({"title":")" + title +
           R"(","duration":60,"formats":[{"format_id":"18","ext":"mp4","vcodec":"h264","acodec":"aac"}])" +
           more + "}";
}

std::string PlayList(std::string const& entries) {
    return R"({"_type":"playlist","title":"P","entries":[)" + entries + "]}";
}

/// An entry that names a script.
std::string Entry(std::string const& name) {
    return R"({"url":"script:)" + name + "\"}";
}

/// The progress after an entry.
std::string Loading(int index, int count) {
    return Text(100.0F * static_cast<float>(index) / static_cast<float>(count)) + "%: Loading " +
           std::to_string(index) + " of the playlist with " + std::to_string(count) + " items|";
}

} // namespace

class Analysis : public ScriptedTool {
protected:
    Analysis() {
        Put("one", "line " + Item("One"));
        Put("two", "line " + Item("Two"));
        Put("bad", "line null\nerrline ERROR: private 100%s\nexit 1");
    }

    static std::shared_ptr<IHVDownloadTask> Start(Recorder& recorder, std::string const& url,
                                                  HVAnalysisRoute route = HVAnalysisRoute::Json) {
        auto task = std::make_shared<HVDownloadTaskParser>(url, route);
        task->SetDelegate(&recorder);
        task->SetJSRuntimePath("/js/deno");
        task->StopTask(); // before the start: of no effect
        EXPECT_TRUE(task->StartTask()->Succeed());
        return task;
    }
    static std::string Run(Recorder& recorder, std::string const& url,
                           HVAnalysisRoute route = HVAnalysisRoute::Json) {
        EXPECT_EQ(Start(recorder, url, route)->WaitFinish(60'000), HVErrSuccess);
        return recorder.Story();
    }
    /// Place, address and plain message of each entry that failed.
    static std::string Failures(std::string const& url, HVAnalysisRoute route) {
        Recorder recorder;
        auto const task = Start(recorder, url, route);
        EXPECT_EQ(task->WaitFinish(60'000), HVErrSuccess);
        std::string failures;
        for (auto const& entry : task->FailedEntries())
            failures += Text(entry.number, entry.url, entry.error->GetPlainMessage()) + "\n";
        return failures;
    }
    /// Runs each script; what is expected comes after the start.
    void Check(Rows const& rows, HVAnalysisRoute route = HVAnalysisRoute::Json) const {
        for (auto const& [script, expected] : rows) {
            Recorder recorder;
            Put("row", script);
            EXPECT_EQ(Run(recorder, "script:row", route), kStarted + expected) << script.substr(0, 1000);
            for (auto const& item : recorder.items) {
                std::string codes;
                for (int i = 0; i < item->GetDownloadFormatCount(); ++i)
                    codes += item->GetDownloadFormatAtIndex(i)->FormatCode() + " ";
                EXPECT_EQ(codes, route == HVAnalysisRoute::Json ? "18 " : "136+140 18 140 ") << script;
            }
        }
    }

    LogLines log_;
};

TEST_F(Analysis, TellsTheDelegateInOrder) {
    std::string const item = "line " + Item("A");
    Check({
        {item, "item A|" + kSucceed},
        {"drip 0 " + Item("A"), "item A|" + kSucceed}, // byte by byte
        {"errflood 2\n" + item, "item A|" + kSucceed},
        {"line " + Item("A", ",\"x\":[" + std::string(3'000'000, ' ') + "1]"), "item A|" + kSucceed},
        {item + "\nexit 1", "item A|" + kSucceed},
        {R"(line {"title":"A","formats":[{"format_id":"18","resolution":"1280x?"}]})", "item A|" + kSucceed},
        {item + "\nclose-out\nsleep 30", "item A|" + kSucceed},
        {"out {\"title\":\"A\",\ngrandchild drip 1 " + Item("B").substr(1), "item A|" + kSucceed},
        // One of the entries fails, or is null, or all fail.
        {"line " + PlayList(Entry("one") + "," + Entry("bad") + "," + Entry("two")),
         "item One|" + Loading(1, 3) + Loading(2, 3) + "item Two|" + Loading(3, 3) + "playlist P of 2|" +
             kSucceed},
        {"when --playlist-items 1\nline " + PlayList("null") + "\nwhen --playlist-items 2\nline " +
             PlayList(Item("Whole")) + "\nunless --playlist-items\nline " + PlayList("null,{}"),
         Loading(1, 2) + "item Whole|" + Loading(2, 2) + "playlist P of 1|" + kSucceed},
        {"line " + PlayList(Entry("bad") + "," + Entry("bad")),
         Loading(1, 2) + Loading(2, 2) + "Error: ERROR: private 100%s\n"},
        {"unless --playlist-items\nline " + PlayList("{}") + "\nwhen --playlist-items\nline 7",
         Loading(1, 1) + "Error: Unknown error, please try again later."},
        {"line " + PlayList(""), "Error: NO play list item found."},
        {"line " + PlayList("") + "\nerr 50%n", "Error: 50%n"},
        {"line <html>", kFailed},
        {"", kFailed},
        {"line null\nerr ERROR: %s%n", "Error: err:ERROR: %s%n"},
        {R"(line {"title":"A","formats":[]})", kFailed},
        {R"(line {"formats":[{"ext":"mhtml"}]})", "Error: Failed to load play item json data."},
        {"out {\"formats\":[\ndie 9", kFailed}, // killed in the middle of its document
    });
}

TEST_F(Analysis, TellsWhatIsWrongWithAnAnswer) {
    for (auto const& [script, expected] : Rows{
             {"line {\"title\" 1}", "The tool's answer can't be read: Missing a colon after a name of object "
                                    "member. (at byte 9)"},
             {"errline WARNING: w\nline <html>",
              "The tool's answer can't be read: Invalid value. (at byte 0)"},
             {"errline WARNING: w\nerrline ERROR: [x] gone\nline null", "gone"},
             {"line {}", "The tool's answer holds nothing to download."}}) {
        Recorder recorder;
        Put("row", script);
        Run(recorder, "script:row");
        EXPECT_EQ(recorder.ends.back()->GetPlainMessage(), expected);
    }
}

TEST_F(Analysis, TellsWhenTheToolWasKilled) {
    using enum HVAnalysisRoute;
    std::string const items =
        "unless --playlist-items\nline Downloading item 1 of 2\nwhen --playlist-items\n";
    std::string const picture = PlayList("").replace(1, 0, R"("thumbnails":[{"id":"0","url":"u"}],)");
    for (auto const& [script, route] : std::vector<std::pair<std::string, HVAnalysisRoute>>{
             {"out {\"formats\":[\ndie 9", Json},
             {"line " + picture + "\ndie 9", Json}, // the run for the picture fails otherwise
             {"die 9", PlainText},
             {items + "errline WARNING: w\ndie 9", PlainText},
             {items + "errline ERROR: [x] odd\ndie 9", PlainText}}) {
        Recorder recorder;
        Put("row", script);
        Run(recorder, "script:row", route);
        EXPECT_EQ(ErrorKindName(recorder.ends.back()->GetKind()), std::string("tool-killed")) << script;
        EXPECT_THAT(recorder.ends.back()->GetPlainMessage(), HasSubstr("The tool was killed"));
    }
}

TEST_F(Analysis, KeepsWhyEntriesFailed) {
    Put("list", "unless --playlist-items\nline " + PlayList(Entry("one") + "," + Entry("bad") + ",{}") +
                    "\nwhen --playlist-items 3\nline [");
    EXPECT_EQ(Failures("script:list", HVAnalysisRoute::Json),
              "2|script:bad|private 100%s\n3||The tool's answer can't be read: Invalid value. (at byte 2)\n");
    Put("list", "unless --playlist-items\nline Downloading item 1 of 2\nwhen --playlist-items\n"
                "errline ERROR: [x] gone");
    EXPECT_EQ(Failures("script:list", HVAnalysisRoute::PlainText), "1||gone\n2||gone\n");
}

TEST_F(Analysis, GivesTheToolExactlyTheseArguments) {
    Put("list", "unless --playlist-items\nline " + PlayList(Entry("one") + R"(,{"title":"whole"})") +
                    "\nwhen --playlist-items\nline " + PlayList(Item("Two")));
    Recorder recorder;
    Run(recorder, "script:list");
    EXPECT_THAT(
        Starts(),
        ElementsAre(
            "--no-live-from-start --js-runtimes deno:/js/deno --ffmpeg-location " REELHAUL_BINARY_DIR
            "/tests/tool/ffmpeg --yes-playlist --flat-playlist --skip-download --sleep-interval 10 -J "
            "--no-check-certificates script:list",
            "-J --no-live-from-start --no-check-certificates script:one",
            "--playlist-items 2 -J --no-live-from-start --no-check-certificates script:list"));
    ASSERT_EQ(recorder.items.size(), 2U);
    EXPECT_EQ(recorder.items[0]->DownloadURL(), "script:one");
    EXPECT_EQ(Text(recorder.items[1]->DownloadURL(), recorder.items[1]->GetPlaylistURL(),
                   recorder.items[1]->GetEntryIndexOfPlayList()),
              "|script:list|1");
}

TEST_F(Analysis, TakesTheFirstThumbnailWhoseBytesComeElseTheBest) {
    Put("fetch", "write . 77");
    for (auto const& [small, expected] : Rows{{"fetch", "10|77"}, {"bad", "20|0"}}) {
        Put("row", "line " + Item("A", R"(,"thumbnails":[{"id":"0","url":"script:)" + small +
                                           R"(","width":10},{"id":"1","url":"script:bad","width":20}])"));
        Recorder recorder;
        Run(recorder, "script:row");
        ASSERT_EQ(recorder.items.size(), 1U);
        auto const thumbnail = recorder.items[0]->GetThumbnail();
        EXPECT_EQ(Text(thumbnail->GetWidth(), thumbnail->GetDataSize()), expected);
    }
}

TEST_F(Analysis, FetchesAThumbnailAndNothingElse) {
    IHVDownloadThumbnail::SetSizeLimit(1000);
    auto options = IHVDownloadOptions::MallocDownloadOptions();
    options->SetDownloadCookies(IHVDownloadCookies::MallocDownloadCookies(Path("cookies.txt")));
    std::string const list = "line [youtube] x\nline [download] Downloading playlist: P\nwrite . 9";
    for (auto const& [script, size] : Rows{{"write . 1000", "1000"},
                                           {"write . 1001", "0"},
                                           {"write +.part +1001\nhang", "0"}, // a film that comes
                                           {list, "0"},
                                           {list + "\nhang", "0"},
                                           {"line x [download] Downloading playlist: P\nwrite . 9", "9"},
                                           {"hang", "0"}}) {
        Put("picture", script);
        HVDownloadThumbnail thumbnail;
        EXPECT_TRUE(thumbnail.LoadFromInfo("0  1     1      script:picture", "ID Width Height URL"));
        EXPECT_EQ(thumbnail.FetchData(options, {}, nullptr, script == "hang" ? 200 : 30'000), size != "0")
            << script;
        EXPECT_EQ(std::to_string(thumbnail.GetDataSize()), size) << script;
    }
    IHVDownloadThumbnail::SetSizeLimit(20'000'000);
    // Its run has what all others have: the guard of the cookies file, the JS runtime.
    ShellTool("case \"$*\" in *--output*) echo \"$PYTHONPATH $PATH\" > '" + Path("environment") +
              "';; *) echo '" + Item("A", R"(,"thumbnails":[{"id":"0","url":"u"}])") + "';; esac");
    Recorder recorder;
    auto const task = IHVDownloadTask::MallocDownloadTask("x");
    task->SetDelegate(&recorder);
    task->SetOptions(options);
    task->SetJSRuntimePath("/js/deno");
    EXPECT_TRUE(task->StartTask()->Succeed());
    EXPECT_EQ(task->WaitFinish(60'000), HVErrSuccess);
    std::ifstream environment(Path("environment"));
    EXPECT_THAT(std::string((std::istreambuf_iterator<char>(environment)), {}),
                testing::MatchesRegex(".*/\\.tool-extension.* /js:.*\n"));
}

TEST_F(Analysis, SaysWhyItCannotRun) {
    Recorder recorder;
    EXPECT_EQ(Run(recorder, ""), kStarted + "Error: Download url is not set.");
    EXPECT_THAT(Run(recorder, std::string("script:one\0?", 12)), HasSubstr("NUL"));
    UseToolOf(Path("."));
    EXPECT_THAT(Run(recorder, "script:one"), HasSubstr("there is no such file"));
    UseToolOf("");
    EXPECT_THAT(Run(recorder, "script:one"), HasSubstr("no path to it is set"));
    EXPECT_TRUE(Starts().empty());
}

TEST_F(Analysis, StopsInEachStage) {
    std::string const thumbnail = R"(,"thumbnails":[{"id":"0","url":"script:late"}])";
    std::string const hang = "touch up\nhang";
    Put("late", "touch up\nwait go\nwrite . 5");
    // A picture that never comes, and one that is not asked for after the stop.
    std::string const thumbnails = R"(,"thumbnails":[{"id":"0","url":"script:hang","width":2},)"
                                   R"({"id":"1","url":"script:next","width":1}])";
    Put("next", "touch asked");
    Put("hang", hang);
    std::string const text =
        "unless --list-formats\nline Downloading 1 format(s)\nwhen --list-formats\n" + hang;
    // The script makes the file "up" where the stop comes, and may wait for "go".
    for (auto const& [script, expected] :
         Rows{{hang, kFailed},
              {"ignore-term\n" + hang, kFailed},
              {"grandchild hang\n" + hang, kFailed},
              {"line " + Item("A", thumbnail), kCancel + "|" + kSucceed},
              {"line " + Item("A", thumbnails), kCancel + "|" + kSucceed},
              {R"(line {"formats":[{}])" + thumbnail + "}", "Error: Failed to load play item json data."},
              {"line " + PlayList(Entry("one") + "," + Entry("hang") + ",{}"),
               "item One|" + Loading(1, 3) + Loading(2, 3) + kCancel},
              {text, "100%: Loading item 1 of 1|" + kCancel}}) {
        Recorder recorder;
        Put("row", script);
        auto const task = Start(recorder, "script:row",
                                script == text ? HVAnalysisRoute::PlainText : HVAnalysisRoute::Json);
        EXPECT_TRUE(AwaitFile("up")) << script;
        EXPECT_EQ(task->WaitFinish(1), HVErrTimeout) << script;
        task->StopTask();
        Put("go");
        EXPECT_EQ(task->WaitFinish(60'000), HVErrSuccess) << script;
        EXPECT_EQ(recorder.Story(), kStarted + expected) << script;
        EXPECT_TRUE(task->WasStopped()) << script;
        EXPECT_FALSE(std::filesystem::exists(Path("asked"))) << script;
        std::filesystem::remove(Path("up"));
        std::filesystem::remove(Path("go"));
    }
    // Between two entries, out of the delegate's own operation.
    Put("row", "line " + PlayList(Entry("one") + "," + Entry("two")));
    Recorder recorder;
    auto const task = IHVDownloadTask::MallocDownloadTask("script:row");
    recorder.onEvent = [&](std::string const& event) {
        if (event == "item One")
            task->StopTask();
    };
    task->SetDelegate(&recorder);
    EXPECT_TRUE(task->StartTask()->Succeed());
    EXPECT_EQ(task->WaitFinish(60'000), HVErrSuccess);
    EXPECT_EQ(recorder.Story(), kStarted + "item One|" + Loading(1, 2) + kCancel);
}

TEST_F(Analysis, RunsOnceAndOutlivesItsOwner) {
    EXPECT_EQ(IHVDownloadTask::MallocDownloadTask("x")->WaitFinish(0), HVErrFailure);
    Recorder recorder;
    std::promise<void> ended;
    recorder.onEvent = [&](std::string const& event) {
        if (event.rfind("Error", 0) == 0)
            ended.set_value();
    };
    auto task = Start(recorder, "scripted:touch up;wait go;line null");
    EXPECT_EQ(task->StartTask()->GetErrorMessage(), "The download task was started.");
    ASSERT_TRUE(AwaitFile("up"));
    std::weak_ptr<IHVDownloadTask> const observer = task;
    task = nullptr;
    Put("go");
    ended.get_future().wait();
    EXPECT_TRUE(Eventually([&] { return observer.expired(); }));
    EXPECT_EQ(recorder.Events().size(), 2U);

    auto const finished = Start(recorder, "script:one");
    EXPECT_EQ(finished->WaitFinish(HVInfiniteTimeOut), HVErrSuccess);
    finished->StopTask(); // too late, as the one before the start was too early
    EXPECT_FALSE(finished->WasStopped());
    EXPECT_FALSE(finished->StartTask()->Succeed());
}

TEST_F(Analysis, LosesNothingByADelegateThatThrows) {
    Recorder thrower;
    thrower.onEvent = [](std::string const&) { throw std::runtime_error("odd delegate"); };
    EXPECT_EQ(Run(thrower, "script:one"), kStarted + "item One|" + kSucceed);
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
    std::string const odd = "line 9   mp4 1280x720    25 |     .MiB    1k https | x\n";
    std::string const many = "unless --list-formats\nline [download] Downloading item 1 of 2\n";
    // What others write into the tool's lines announces nothing.
    std::string const spoofed = "unless --list-formats\nline x: Downloading item 1 of -5.mp4: Downloading 1 "
                                "format(s): 18\nline Downloading item 1 of 2000000000\n"
                                "line [download] Downloading item 1 of 3 films\nwhen --list-formats\n";
    std::string const one =
        "unless --list-formats\nline x: Downloading 1 format(s): 18\nwhen --list-formats\n";
    std::string const warning = "errline WARNING: w\n";
    std::string const loaded = "100%: Loading item 1 of 1|";
    std::string const found = loaded + "item A name|" + kSucceed;
    Check({{one + thumbnails + formats + "line A name\nline 1:02:03", found},
           {one + formats + thumbnails + "line A name\nline 6", found},
           {spoofed + formats + odd + "line A name\nline 6", found},
           {one + warning + formats + "line A name\nline 6", found},
           {one + formats + "line A name\nline NA", found},
           {one + warning + "errline ERROR: e1\nerrline ERROR: e2\n" + formats,
            loaded + "Error: ERROR: e1\nERROR: e2"},
           {one + "line a\nline b\nout c", loaded + "Error: error text info: \n a\nb\nc"},
           {one + "line a\nline b\nline c\nline d", loaded + "Error: No format available."},
           {one + "err odd %s\nline a\nline b\nline c\nline d", loaded + "Error: odd %s"},
           {many + "when --playlist-items 1\n" + formats +
                "line A name\nline 6\nwhen --playlist-items 2\nerrline ERROR: e",
            "50%: Loading item 1 of 2|100%: Loading item 2 of 2|playlist  of 1|" + kSucceed},
           {"errline ERROR: 5%d", "Error: ERROR: 5%d\n"},
           {"", "Error: Unknown error, please try again later."}},
          HVAnalysisRoute::PlainText);
}

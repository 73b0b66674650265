#include "DownloadFixture.h"

#include "HVDownloadTaskDownload.h"
#include "HVJsonObjectSubtitle.h"
#include "IHVDownloadOptions.h"
#include "IHVGeneralOptions.h"
#include "Text.h"

#include <stdexcept>

using namespace Halvorn;
namespace fs = std::filesystem;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

/// A progress line of the tool.
std::string At(std::string const& percent, std::string const& more = {}) {
    return "[download]  " + percent + " of 8.00MiB at 1.00MiB/s ETA 00:06" + more;
}

} // namespace

TEST(HVDownloadTaskDownload, MakesOneRisingPercentageOfTheToolsLines) {
    std::string const rest = "%: 1.00MiB/s ETA 00:06";
    std::vector<std::pair<std::vector<std::string>, std::string>> const rows = {
        // As the tool prints it, several lines, two updates on one line, a retry glued on, a line cut in two.
        {{"\r[download]  25.0% of  292.63KiB at  139.56KiB/s ETA 00:02  "}, "25%: 139.56KiB/s ETA 00:02 "},
        {{"x\n" + At("10.0%") + "\n" + At("20.0%") + "\n"}, "10" + rest + "|20" + rest},
        {{At("10.0%") + "[download] Got error: of at ETA. Retrying (2/10)..."}, "10" + rest},
        {{"[download]  10.0% of 8.0", "0MiB at 1.00MiB/s ETA 00:06"}, ""},
        // No progress, and odd ones.
        {{"[download] 100% of 1.00MiB in 00:00:01 at 1.00MiB/s", "[download] 5% at 1MiB/s of ETA"}, ""},
        {{"[download]  10.0% of  8.00MiB at  Unknown B/s ETA Unknown"}, "10%: "},
        {{"[download]  10.0% of 12 at 1.00MiB/s ETA 00:06"}, "12" + rest},
        // It only rises, by a step at least, and not beyond the end; fragments count.
        {{At("0.0%"), At("50%"), At("20%"), At("50.005%"), At("50.02%")}, "50" + rest + "|50.02" + rest},
        {{At("99.995%"), At("100%")}, "99.995" + rest},
        {{At("140%")}, "100" + rest},
        {{At("50.0%", " (frag 3/4)")}, "62.5" + rest + " (frag 3/4)"},
        {{At("0.0%", " (frag 1/0)"), At("50.0%", " (frag 3/0)"), At("60.0%", " (frag 3/0)")},
         "100" + rest + " (frag 3/0)"},
        {{At("50.0%", " (frag x/4)")}, "12.5" + rest + " (frag x/4)"},
        {{At("50.0%", " (frag 0/4)")}, "12.5" + rest + " (frag 0/4)"},
        {{At("50.0%", " (frag 1/99999999999)")}, "50" + rest + " (frag 1/99999999999)"},
    };
    for (auto const& [chunks, expected] : rows) {
        Recorder recorder;
        HVDownloadTaskDownload task(nullptr, "");
        task.SetDelegate(&recorder);
        for (auto const& chunk : chunks)
            task.ParseDownloadOutputInfo(chunk);
        EXPECT_EQ(recorder.Story(), expected) << chunks[0];
    }
    // After the end a stopped child may still print.
    Recorder recorder;
    HVDownloadTaskDownload task(nullptr, "");
    task.SetDelegate(&recorder);
    task.notifyTaskComplete(IHVError::MallocSucceed("", 0, ""));
    task.ParseDownloadOutputInfo(At("50%"));
    EXPECT_EQ(recorder.Events().size(), 1U);
    EXPECT_THROW(task.ParseDownloadOutputInfo(At(".%")), std::invalid_argument);
}

class DownloadRuns : public Downloads {
protected:
    static std::shared_ptr<IHVDownloadTask> Start(Recorder& recorder,
                                                  std::shared_ptr<IHVDownloadItem> const& item,
                                                  std::string const& folder,
                                                  std::shared_ptr<IHVDownloadOptions> options = nullptr) {
        auto task = IHVDownloadTask::MallocDownloadTask(item, folder);
        task->SetDelegate(&recorder);
        task->SetOptions(std::move(options));
        EXPECT_TRUE(task->StartTask()->Succeed());
        return task;
    }
    static std::string Run(std::shared_ptr<IHVDownloadItem> const& item, std::string const& folder) {
        Recorder recorder;
        EXPECT_EQ(Start(recorder, item, folder)->WaitFinish(60'000), HVErrSuccess);
        return recorder.Story();
    }
    static std::shared_ptr<IHVDownloadItem> ItemWithSubtitle(std::string const& url, std::string const& title,
                                                             std::string const& language) {
        auto item = Item(url, title);
        auto const subtitle = std::make_shared<HVDownloadSubtitle>();
        auto const captions = std::make_shared<HVJsonObjectSubtitle>(IHVJsonReader::ReadJsonString(
            R"({")" + language + R"(":[{"ext":"vtt","url":"u","name":"N"}]})", nullptr));
        EXPECT_TRUE(subtitle->LoadFromJsonObject(language, captions) &&
                    subtitle->SetCurrentSubtitleFormat("vtt"));
        item->AddDownloadSubtitle(subtitle);
        item->SetCurrentSubtitleIndex(0);
        return item;
    }
    static std::string Join(std::set<std::string> const& names) {
        std::string text;
        for (auto const& name : names)
            text += name + "|";
        return text;
    }
};

TEST_F(DownloadRuns, LetTheFileDecide) {
    struct Row {
        std::string script;
        std::string end;
        std::string files;
        std::string title = "A";
    };
    Row const rows[] = {
        {"write . 10;errline ERROR: odd;exit 1", "Succeed: ", "A.mp4|"},
        {"write . 10;write .f136.mp4 5;die 11", "Succeed: ", "A.mp4|"},
        {"write . 10;write +.meta 5", "Succeed: ", "a_b_ _c_.mp4|", "a/b: \"c\""},
        {"write . 10;write +.fr.vtt 5", "Succeed: ", "A.fr.vtt|A.mp4|"},
        {"", "Error: Download error: ", ""},
        {"err ERROR: 100%s;exit 1", "Error: Download error: ERROR: 100%s", ""},
        {"write +.part +10;write +.part-Frag2.part +3;write .f1.mp4 5;exit 1", "Error: Download error: ", ""},
        {"out [download] % of 1 at 1MiB/s ETA 1\\n;write +.part +5;hang",
         "Error: The tool's output could not be read", ""},
    };
    for (auto const& row : rows) {
        auto const item = ItemWithSubtitle("scripted:" + row.script, row.title, "fr");
        EXPECT_THAT(Run(item, out_), StartsWith("started: Download started.|" + row.end)) << row.script;
        EXPECT_EQ(Join(FilesIn(out_)), row.files) << row.script;
        EXPECT_EQ(item->GetDownloadFile(), row.files.empty() ? "" : out_ + "/" + *FilesIn(out_).rbegin())
            << row.script;
        EXPECT_TRUE(NothingLeft()) << row.script;
        fs::remove_all(out_);
        fs::create_directory(out_);
    }
    EXPECT_THAT(Starts().front(),
                testing::MatchesRegex("--write-auto-sub --sub-lang fr --sub-format vtt --sleep-interval 10 "
                                      "--no-live-from-start --format 18 --no-check-certificates --output " +
                                      IHVFileProvider::GetTmpPath() +
                                      "/..........\\.mp4 scripted:write . 10.*"));
    EXPECT_THAT(Run(IHVDownloadItem::MallocDownloadItem("scripted:"), out_),
                EndsWith("|Error: No download format settings."));
    UseToolOf(out_);
    EXPECT_THAT(Run(Item("scripted:", "A"), out_), HasSubstr("there is no such file"));
}

TEST_F(DownloadRuns, PutASubtitleBesideTheFileAndReplaceNothing) {
    for (auto const& [language, files] : Rows{{"fr", "A (1).fr.vtt|A (1).mp4|A.fr.vtt|"},
                                              {"f*r", "A.f_r.vtt|A.fr.vtt|A.mp4|"},
                                              {"f/r", "A.fr.vtt|A.mp4|"}}) {
        std::ofstream(out_ + "/A.fr.vtt") << "mine";
        ShellTool("while [ $# -gt 0 ]; do [ \"$1\" = --output ] && file=$2; shift; done\n"
                  "echo film >\"$file\"; mkdir \"${file%.mp4}.f\"; echo words >\"${file%.mp4}." +
                  language + ".vtt\"\n");
        EXPECT_THAT(Run(ItemWithSubtitle("x", "A", language), out_), HasSubstr("Succeed: "));
        EXPECT_EQ(Join(FilesIn(out_)), files);
        EXPECT_EQ(fs::file_size(out_ + "/A.fr.vtt"), 4U) << "the user's file was replaced";
        for (auto const& file : FilesIn(out_))
            fs::remove(out_ + "/" + file);
    }
}

TEST_F(DownloadRuns, StopAtAnyMomentAndCountHalfAFileAsNone) {
    std::string const cancel = "Cancel: User cancelled operation";
    struct {
        std::string script;
        std::string end;
        bool partFile = true;
        bool stop = true;
    } const rows[] = {{"write +.part +10;touch up;hang", cancel},
                      {"ignore-term;write +.part +10;touch up;hang", cancel},
                      {"grandchild hang;write .temp.mp4 10;touch up;hang", cancel},
                      {"write . 10;touch up;hang", "Succeed: Operation was succeed"},
                      // Without a part file half a file has its name from the start.
                      {"write . 10;touch up;exit 1", "Error: Download error: ", false, false},
                      {"write . 10;touch up;die 11", "Error: Download error: ", false, false},
                      {"write . 10;touch up;hang", cancel, false},
                      {"write . 10;touch up", "Succeed: Operation was succeed", false, false}};
    for (auto const& row : rows) {
        auto const options = IHVDownloadOptions::MallocDownloadOptions();
        auto const general = IHVGeneralOptions::MallocGeneralOptions();
        general->SetUsePartFile(row.partFile);
        options->SetGeneralOptions(general);
        Recorder recorder;
        auto const task = Start(recorder, Item("scripted:" + row.script, "A"), out_, options);
        EXPECT_TRUE(AwaitFile("up"));
        if (row.stop)
            task->StopTask();
        EXPECT_EQ(task->WaitFinish(60'000), HVErrSuccess);
        EXPECT_THAT(recorder.Story(), EndsWith("|" + row.end)) << row.script;
        EXPECT_TRUE(NothingLeft()) << row.script;
        fs::remove(Path("up"));
    }
    EXPECT_EQ(Join(FilesIn(out_)), "A (1).mp4|A.mp4|");
}

TEST_F(DownloadRuns, DoNotWaitForAChildThatIgnoresTheStop) {
    // It is killed after a second and a half; only a machine under load may be as late as that.
    EXPECT_TRUE(Eventually([this] {
        Recorder recorder;
        auto const task = Start(recorder, Item("scripted:ignore-term;touch up;hang", "A"), out_);
        EXPECT_TRUE(AwaitFile("up"));
        auto const begin = std::chrono::steady_clock::now();
        task->StopTask();
        EXPECT_EQ(task->WaitFinish(60'000), HVErrSuccess);
        fs::remove(Path("up"));
        return std::chrono::steady_clock::now() - begin < std::chrono::milliseconds(1400);
    }));
}

TEST_F(DownloadRuns, KeepAFinishedFileThatHasNoPlace) {
    Put("file");
    for (std::string const& folder : {Path("missing"), Path("file"), std::string()}) {
        auto const item = Item("scripted:write . 10;write +.part +3;write .fr.vtt 3", "A");
        std::string const error = Run(item, folder);
        auto const name = error.find("The file stays at \"");
        ASSERT_NE(name, std::string::npos) << error;
        auto const path = error.substr(name + 19, error.size() - name - 21);
        EXPECT_TRUE(Eventually([] { return FilesIn(IHVFileProvider::GetTmpPath()).size() == 1; }));
        EXPECT_EQ(std::filesystem::file_size(path), 10U) << error;
        EXPECT_EQ(item->GetDownloadFile(), "");
        std::filesystem::remove(path);
    }
}

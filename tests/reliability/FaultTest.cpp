// One analysis of a playlist, one queue of downloads and one update, again and again, each time in a process
// of its own in which another call to the system fails: the nth start of a child, open, write, rename and so
// on.

#include "Faults.h"
#include "LoopbackServer.h"
#include "control/DownloadFixture.h"
#include "reliability/Figures.h"

#include "IHVDownloadController.h"
#include "IHVDownloadControllers.h"

#include <sys/wait.h>

using namespace Halvorn;
namespace fs = std::filesystem;

namespace {

constexpr int kDownloads = 3;
constexpr int kOver = 3; ///< what the process ends with when it made fewer calls than were to fail

std::string NameOf(Fault fault) {
    char const* const names[] = {"None", "Spawn", "Open", "Write", "Rename", "Folder", "Thread", "Request"};
    return names[static_cast<int>(fault)];
}

} // namespace

class FaultedProcess : public Downloads {
protected:
    FaultedProcess() {
        fs::create_directory(tools_);
        fs::copy(REELHAUL_BINARY_DIR "/tests/tool/yt-dlp", tools_);
        UseToolOf(tools_);
        Put("item", std::string("line ") + kItem);
        Put("picture", "write . 9");
        Put("bad", "line null\nerrline ERROR: private\nexit 1");
        Put("list", R"(line {"_type":"playlist","entries":[{"url":"script:item"},{"url":"script:bad"}]})");
        Put("download", "progress 50\nwrite +.part +9\nwrite . 1000\nwrite .fr.vtt 5");
    }
    void Analyse() {
        Recorder recorder;
        auto const task = IHVDownloadTask::MallocDownloadTask("script:list");
        task->SetDelegate(&recorder);
        EXPECT_TRUE(task->StartTask()->Succeed());
        EXPECT_EQ(task->WaitFinish(60'000), HVErrSuccess);
        int ends = 0;
        for (auto const& event : recorder.Events())
            ends += event.rfind("Succeed: ", 0) == 0 || event.rfind("Error: ", 0) == 0 ? 1 : 0;
        EXPECT_EQ(ends, 1);
    }
    /// Downloads of one title into a folder that has such a file already: the errors' words, joined.
    std::string Download(std::string const& folder) {
        auto const queue = IHVDownloadControllers::MallocDownloadControllers();
        queue->SetConcurrentDownload(2);
        std::atomic<int> ends[kDownloads] = {};
        for (auto& end : ends) {
            auto const controller =
                IHVDownloadController::MallocDownloadController(Item("script:download", "A"), folder);
            controller->SetDownloadCompleteFunc([&](auto const&) { ++end; });
            queue->AddController(controller);
        }
        queue->StartDownload({});
        EXPECT_TRUE(Eventually(
            [&] { return !queue->AnyControllerIsDownloading() && queue->CountOfPendingControllers() == 0; }));
        std::string words;
        for (int row = 0; row < kDownloads; ++row) {
            EXPECT_TRUE(Eventually([&] { return ends[row] == 1; })) << "of row " << row;
            auto const controller = queue->GetController(row);
            EXPECT_EQ(controller->State(), HVDownloadStateDone);
            if (controller->DownloadSucceed())
                EXPECT_EQ(fs::file_size(controller->DownloadOutputPathFile()), 1000U);
            else
                words += controller->LastError()->GetErrorMessage() + "\n";
        }
        return words;
    }
    void Update() {
        std::atomic<int> ends = 0;
        auto const plugin = IHVDownloadPlugin::SharedDownloadPlugin();
        plugin->UpdateLocalPlugin([&](auto const&) { ++ends; });
        EXPECT_TRUE(Eventually([&] { return ends > 0; }));
        plugin->CancelUpdateLocalPlugin();
        EXPECT_EQ(ends, 1);
    }

    static constexpr char const* kItem =
        R"({"title":"One","formats":[{"format_id":"18","ext":"mp4","vcodec":"h264","acodec":"aac"}],)"
        R"("thumbnails":[{"id":"0","url":"script:picture"}]})";
    std::string const tools_ = Path("tools");
};

/// A test in the processes that the next one starts, and nowhere else: REELHAUL_FAULT says what is to fail,
/// what is kept goes to REELHAUL_KEPT.
class DoesItsWork : public FaultedProcess {
    void TestBody() override;
};

auto const* const gOfThisProcess =
    std::getenv("REELHAUL_FAULT") == nullptr
        ? nullptr
        : testing::RegisterTest("FaultedProcess", "DoesItsWork", nullptr, nullptr, __FILE__, __LINE__,
                                []() -> FaultedProcess* { return new DoesItsWork; });

void DoesItsWork::TestBody() {
    std::istringstream fault(std::getenv("REELHAUL_FAULT"));
    int kind = 0;
    int nth = 0;
    fault >> kind >> nth;
    // The download folder is on another file system where there is one.
    std::string const elsewhere = "/dev/shm/" + fs::path(out_).parent_path().filename().string();
    std::string const folder = fs::create_directories(elsewhere) ? elsewhere : out_;
    for (auto const& path : {folder, out_})
        std::ofstream(path + "/A.mp4") << "earlier";
    std::size_t const descriptors = CountOf(Counted::Descriptors);

    FailNth(static_cast<Fault>(kind), nth);
    Analyse();
    std::string words = Download(folder);
    words += Download(out_);
    Update();
    bool const happened = FaultHappened();
    FailNth(Fault::None, 0);

    EXPECT_TRUE(Eventually([] { return CountOf(Counted::Children) == 0; }));
    for (auto const& path : {folder, out_})
        EXPECT_EQ(ContentOf(path + "/A.mp4"), "earlier");
    // Of the library's own: the temporary folder's lock, and the pipe to the guardian.
    EXPECT_TRUE(Eventually([&] { return CountOf(Counted::Descriptors) <= descriptors + 2; }));
    EXPECT_EQ(ContentOf(tools_ + "/yt-dlp"), ContentOf(REELHAUL_BINARY_DIR "/tests/tool/yt-dlp"));
    EXPECT_EQ(FilesIn(tools_).size(), 1U);
    std::ofstream(std::getenv("REELHAUL_KEPT")) << words;
    fs::remove_all(elsewhere);
    if (!happened && !HasFailure())
        std::exit(kOver);
}

std::ostream& operator<<(std::ostream& stream, Fault fault) {
    return stream << NameOf(fault);
}

class FailTheNth : public testing::TestWithParam<Fault> {};

TEST_P(FailTheNth, HarmsNothing) {
    fs::path const folder = fs::temp_directory_path() / ("faults" + std::to_string(getpid()));
    std::string const kept = folder / "kept";
    LoopbackServer server([](int connection, std::string const&) {
        LoopbackServer::Reply(connection, "200 OK", R"({"tag_name": "2026.10.26"})");
    });
    setenv("REELHAUL_RELEASE_API", server.Url().c_str(), 1);
    setenv("REELHAUL_KEPT", kept.c_str(), 1);
    int nth = 1;
    for (int status = 0; status == 0; ++nth) {
        fs::path const temporary = folder / std::to_string(nth);
        fs::create_directories(temporary);
        std::string const fault = std::to_string(static_cast<int>(GetParam())) + " " + std::to_string(nth);
        pid_t const process = fork();
        if (process == 0) {
            setenv("TMPDIR", temporary.c_str(), 1);
            setenv("REELHAUL_FAULT", fault.c_str(), 1);
            execl("/proc/self/exe", "test", "--gtest_brief=1", "--gtest_filter=FaultedProcess.DoesItsWork",
                  nullptr);
            _exit(127);
        }
        waitpid(process, &status, 0);
        EXPECT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status) << " with " << fault;
        if (WEXITSTATUS(status) == kOver)
            break;
        EXPECT_EQ(status, 0) << "with " << fault;
        // Of the temporary folder remains what an error has named, and nothing else.
        std::string const words = ContentOf(kept);
        for (auto const& entry : fs::recursive_directory_iterator(temporary)) {
            if (entry.is_regular_file() && entry.path().filename().string().rfind(".reelhaul-", 0) != 0) {
                EXPECT_NE(words.find("\"" + entry.path().string() + "\""), std::string::npos)
                    << entry.path() << " with " << fault << ": " << words;
            }
        }
    }
    EXPECT_GT(nth, 1) << "no such call was ever made";
    std::printf("%d calls failed, one in each process\n", nth - 1);
    fs::remove_all(folder);
}

INSTANTIATE_TEST_SUITE_P(Calls, FailTheNth,
                         testing::Values(Fault::Spawn, Fault::Open, Fault::Write, Fault::Rename,
                                         Fault::Folder, Fault::Thread, Fault::Request),
                         [](auto const& fault) { return NameOf(fault.param); });

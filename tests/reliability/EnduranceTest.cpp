// Thousands of analyses and downloads in one process, many analyses at once, and tasks that nobody holds.

#include "Scale.h"
#include "control/DownloadFixture.h"
#include "reliability/Figures.h"

#include "IHVDownloadController.h"
#include "IHVDownloadControllers.h"

#include <future>

using namespace Halvorn;

class Endurance : public Downloads {
protected:
    Endurance() {
        Put("item",
            R"(line {"title":"One","formats":[{"format_id":"18","ext":"mp4","vcodec":"h264","acodec":"aac"}]})");
        Put("bad", "line null\nerrline ERROR: private\nexit 1");
        Put("list", R"(line {"_type":"playlist","entries":[{"url":"script:item"},{"url":"script:bad"}]})");
    }
    static void Analyse(int count) {
        for (int i = 0; i < count; i += 8) {
            std::vector<Recorder> recorders(8);
            std::vector<std::shared_ptr<IHVDownloadTask>> tasks;
            for (auto& recorder : recorders) {
                tasks.push_back(IHVDownloadTask::MallocDownloadTask(tasks.size() % 4 == 0 ? "script:list"
                                                                                          : "script:item"));
                tasks.back()->SetDelegate(&recorder);
                EXPECT_TRUE(tasks.back()->StartTask()->Succeed());
            }
            for (auto const& task : tasks)
                EXPECT_EQ(task->WaitFinish(60'000), HVErrSuccess);
            for (auto const& recorder : recorders)
                EXPECT_EQ(recorder.Events().back(), "Succeed: Operation was succeed");
        }
    }
    void Download(int count) {
        auto const queue = IHVDownloadControllers::MallocDownloadControllers();
        std::atomic<int> ends = 0;
        for (int row = 0; row < count; ++row) {
            std::string const script = row % 5 == 0 ? "write +.part +9;exit 1" : "progress 50;write . 1";
            auto const controller = IHVDownloadController::MallocDownloadController(
                Item("scripted:" + script, std::to_string(row)), out_);
            controller->SetDownloadCompleteFunc([&](auto const&) { ++ends; });
            queue->AddController(controller);
        }
        queue->StartDownload({});
        EXPECT_TRUE(Eventually([&] { return ends == count; }, std::chrono::minutes(10)));
        EXPECT_TRUE(Eventually([&] { return !queue->AnyControllerIsDownloading(); }));
        for (auto const& name : FilesIn(out_))
            std::filesystem::remove(out_ + "/" + name);
    }
};

TEST_F(Endurance, NothingGrows) {
    int const count = Scaled(2000);
    std::thread([] {}).join(); // a sanitizer starts a thread of its own with the first
    std::size_t const threads = CountOf(Counted::Threads);
    // A run's descriptors go with the last of its threads.
    auto const calm = [&] {
        return NothingLeft() && CountOf(Counted::Children) == 0 && CountOf(Counted::Threads) == threads;
    };
    Analyse(100);
    Download(100);
    EXPECT_TRUE(Eventually(calm));
    std::size_t before[4];
    std::size_t after[4];
    for (int what = 0; what < 4; ++what)
        before[what] = CountOf(static_cast<Counted>(what));
    for (int round = 0; round < 10; ++round) {
        Analyse(count / 10);
        Download(count / 10);
    }
    EXPECT_TRUE(Eventually(calm));
    for (int what = 0; what < 4; ++what)
        after[what] = CountOf(static_cast<Counted>(what));
    std::printf("%d analyses and %d downloads: descriptors %zu, then %zu; threads %zu; KiB %zu, then %zu\n",
                count, count, before[0], after[0], after[1], before[3], after[3]);
    EXPECT_EQ(after[0], before[0]);
    EXPECT_TRUE(FilesIn(IHVFileProvider::GetTmpPath()).empty());
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    EXPECT_LT(after[3], before[3] + 4096);
#endif
}

TEST_F(Endurance, TwoHundredAnalysesEndInTheSameInstant) {
    Put("together", "wait go\nline null\nerrline ERROR: private\nexit 1");
    constexpr int kCount = 200;
    std::vector<Recorder> recorders(kCount);
    std::vector<std::weak_ptr<IHVDownloadTask>> tasks;
    std::vector<std::shared_ptr<IHVDownloadTask>> held;
    for (auto& recorder : recorders) {
        auto const task = IHVDownloadTask::MallocDownloadTask("script:together");
        task->SetDelegate(&recorder);
        EXPECT_TRUE(task->StartTask()->Succeed());
        tasks.emplace_back(task);
        if (tasks.size() % 2 == 0) // the others are dropped while they run
            held.push_back(task);
    }
    EXPECT_TRUE(Eventually([this] { return Running().first == kCount; }));
    Put("go");
    for (auto const& task : held)
        EXPECT_EQ(task->WaitFinish(60'000), HVErrSuccess);
    held.clear();
    for (auto const& task : tasks)
        EXPECT_TRUE(Eventually([&] { return task.expired(); }));
    for (auto const& recorder : recorders)
        EXPECT_EQ(recorder.Events().size(), 2U);
    EXPECT_TRUE(Eventually([] { return CountOf(Counted::Children) == 0; }));
}

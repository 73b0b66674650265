// A playlist's analysis by the real tool, kept warm: bench/playlist.py sets the environment that this needs.

#include "HVDownloadPlugin.h"
#include "IHVDownloadItem.h"
#include "IHVDownloadTask.h"
#include "IHVDownloadTaskDelegate.h"
#include "IHVWarmTool.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <thread>

using namespace Halvorn;

namespace {

class Counter final : public IHVDownloadTaskDelegate {
public:
    int items = 0;
    int pictures = 0;

    void DownloadTaskStarted(std::string, IHVDownloadTask const*) override {}
    void DownloadTaskProgress(std::string, float, IHVDownloadTask const*) override {}
    void DownloadTaskGetPlayList(std::shared_ptr<IHVPlayList>, IHVDownloadTask const*) override {}
    void DownloadTaskGetPlayItem(std::shared_ptr<IHVDownloadItem> item, IHVDownloadTask const*) override {
        ++items;
        pictures += item->GetThumbnail() != nullptr && item->GetThumbnail()->GetDataSize() > 0 ? 1 : 0;
    }
    void DownloadTaskCompleted(std::shared_ptr<IHVError const>, IHVDownloadTask const*) override {}
};

bool IsWarm() {
    HVDownloadPlugin::SharedPlugin()->SetLocalPluginInstallPath(std::getenv("REELHAUL_BENCH_TOOLS"));
    IHVDownloadPlugin::UseLocalPluginForThisProcess(true);
    IHVWarmTool::TurnOn(0);
    auto status = IHVWarmTool::GetStatus();
    for (; status.state == IHVWarmTool::State::Warming ||
           (status.state == IHVWarmTool::State::Ready && !status.complete);
         status = IHVWarmTool::GetStatus())
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return status.state == IHVWarmTool::State::Ready;
}

/// Entries at once, and whether the thumbnails' bytes are fetched.
void WarmList(benchmark::State& state) {
    char const* const address = std::getenv("REELHAUL_BENCH_LIST");
    if (address == nullptr || !IsWarm()) {
        state.SkipWithError("see bench/playlist.py");
        return;
    }
    Counter counter;
    for (auto _ : state) {
        auto const task = IHVDownloadTask::MallocDownloadTask(address);
        task->SetDelegate(&counter);
        task->SetFullAnalysis(true);
        task->SetAnalysesAtOnce(static_cast<int>(state.range(0)));
        task->SetAnalysesPerSite(static_cast<int>(state.range(0)));
        task->SetThumbnailBytes(state.range(1) != 0);
        task->SetThumbnailsByHTTP(true);
        task->StartTask();
        task->WaitFinish(HVInfiniteTimeOut);
    }
    state.counters["items"] = counter.items;
    state.counters["pictures"] = counter.pictures;
}

BENCHMARK(WarmList)
    ->ArgsProduct({{1, 4, 8}, {0, 1}})
    ->Iterations(1)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

} // namespace

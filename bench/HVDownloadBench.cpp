// Progress lines a second, and the queue's operations over many rows.

#include "HVDownloadControllers.h"
#include "HVDownloadTaskDownload.h"
#include "IHVDownloadItem.h"

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

using namespace Halvorn;

namespace {

void ProgressLines(benchmark::State& state) {
    std::vector<std::string> lines;
    for (int i = 0; i < 10000; ++i)
        lines.push_back("\r[download] " + std::to_string(i / 100) + "." + std::to_string(i % 100) +
                        "% of ~ 281.67MiB at    1.25MiB/s ETA 03:12 (frag 3/40)");
    for (auto _ : state) {
        auto task = std::make_shared<HVDownloadTaskDownload>(IHVDownloadItem::MallocDownloadItem("x"), "/");
        for (auto const& line : lines)
            task->ParseDownloadOutputInfo(line);
    }
    state.SetItemsProcessed(static_cast<int64_t>(lines.size()) * state.iterations());
}
BENCHMARK(ProgressLines)->Unit(benchmark::kMillisecond);

std::shared_ptr<IHVDownloadControllers> Queue(int rows) {
    auto queue = IHVDownloadControllers::MallocDownloadControllers();
    std::vector<std::shared_ptr<IHVDownloadController>> controllers;
    for (int i = 0; i < rows; ++i)
        controllers.push_back(
            IHVDownloadController::MallocDownloadController(IHVDownloadItem::MallocDownloadItem("x"), "/"));
    queue->AddController(controllers);
    return queue;
}

void QueueCounts(benchmark::State& state) {
    auto const queue = Queue(static_cast<int>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(queue->CountOfPendingControllers() + queue->CountOfDownloadingControllers());
}
BENCHMARK(QueueCounts)->Arg(10000)->Unit(benchmark::kMicrosecond);

void QueueMakeAllPendingAndIdle(benchmark::State& state) {
    auto const queue = Queue(static_cast<int>(state.range(0)));
    queue->SetConcurrentDownload(0);
    for (auto _ : state) {
        queue->StartDownload({});
        queue->StopDownload({});
    }
}
BENCHMARK(QueueMakeAllPendingAndIdle)->Arg(10000)->Unit(benchmark::kMillisecond);

/// What the end of one download costs the queue: the walk over all rows.
void QueueWalkAtAnEnd(benchmark::State& state) {
    auto const queue = Queue(static_cast<int>(state.range(0)));
    auto& concrete = dynamic_cast<HVDownloadControllers&>(*queue);
    for (auto _ : state)
        concrete.DownloadCompleted(nullptr);
}
BENCHMARK(QueueWalkAtAnEnd)->Arg(10000)->Unit(benchmark::kMicrosecond);

} // namespace

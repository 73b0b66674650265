// A kept queue of many rows: what a change costs its caller, and how long the file takes to open.

#include "HVDownloadFormat.h"
#include "HVDownloadItem.h"
#include "HVDownloadSubtitle.h"
#include "HVJsonObjectFormat.h"
#include "HVMergeDownloadFormat.h"
#include "IHVDownloadOptions.h"
#include "IHVGeneralOptions.h"
#include "IHVKeptQueue.h"
#include "IHVNetworkOptions.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <filesystem>

using namespace Halvorn;

namespace {

constexpr int kRows = 10'000;

std::shared_ptr<IHVDownloadFormat> Half(char const* document) {
    auto format = std::make_shared<HVDownloadFormat>();
    format->LoadFromJsonObject(
        std::make_shared<HVJsonObjectFormat>(IHVJsonReader::ReadJsonString(document, nullptr)));
    return format;
}

std::shared_ptr<IHVDownloadController> MakeRow(int number) {
    static auto const picture = Half(R"({"format_id":"303","ext":"webm","vcodec":"vp9","acodec":"none",
        "width":1920,"height":1080,"fps":60,"tbr":3081.5,"filesize":123456789,"protocol":"https"})");
    static auto const sound = Half(R"({"format_id":"251","ext":"webm","vcodec":"none","acodec":"opus",
        "asr":48000,"abr":128.9,"tbr":128.9,"filesize":5234567,"protocol":"https","language":"en"})");
    static auto const options = [] {
        auto made = IHVDownloadOptions::MallocDownloadOptions();
        made->SetGeneralOptions(IHVGeneralOptions::MallocGeneralOptions());
        made->SetNetworkOptions(IHVNetworkOptions::MallocNetworkOptions());
        return made;
    }();
    auto item = std::make_shared<HVDownloadItem>("https://media.example/watch?v=" + std::to_string(number));
    item->SetFileName("A title as long as titles are on most sites, number " + std::to_string(number));
    item->AddDownloadFormat(std::make_shared<HVMergeDownloadFormat>(picture, sound, false));
    item->SetChosenSubtitles({HVDownloadSubtitle::Kept("en", "English", "vtt", true)});
    HVItemDetails details;
    details.extractor = "Media";
    details.id = std::to_string(number);
    details.uploader = "Somebody";
    item->TakeDetails(details, {});
    auto controller = IHVDownloadController::MallocDownloadController(item, "/home/user/Videos");
    controller->SetOptions(options);
    return controller;
}

class KeptQueue {
public:
    KeptQueue() : folder_(std::filesystem::temp_directory_path() / "reelhaul-bench-queue") {
        std::filesystem::remove_all(folder_);
        queue = Open();
        for (int number = 0; number < kRows; ++number)
            queue->Controllers()->AddController(MakeRow(number));
        queue->Flush(60'000);
    }
    ~KeptQueue() {
        queue.reset();
        std::filesystem::remove_all(folder_);
    }
    KeptQueue(KeptQueue const&) = delete;
    KeptQueue& operator=(KeptQueue const&) = delete;
    std::shared_ptr<IHVKeptQueue> Open() {
        std::shared_ptr<IHVError const> error;
        return IHVKeptQueue::Open(folder_ / "queue", {}, error);
    }

    std::shared_ptr<IHVKeptQueue> queue;

private:
    std::filesystem::path const folder_;
};

/// Changes follow each other without a pause, so the writer is at work all the time.
template <typename Change>
void Changes(benchmark::State& state, Change change) {
    KeptQueue kept;
    int number = 0;
    double longest = 0;
    for (auto _ : state) {
        auto const begin = std::chrono::steady_clock::now();
        change(*kept.queue, number++);
        longest = std::max(longest,
                           std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
    }
    state.counters["longest_ms"] = longest * 1000;
}

void KeptQueueTick(benchmark::State& state) {
    Changes(state, [](auto& kept, int number) {
        auto const row = kept.Controllers()->GetController(number * 7919 % kRows);
        row->SetChecked(!row->GetChecked());
    });
}
BENCHMARK(KeptQueueTick)->UseRealTime()->MinTime(1);

void KeptQueueState(benchmark::State& state) {
    Changes(state, [](auto& kept, int number) {
        auto const row = kept.Controllers()->GetController(number * 7919 % kRows);
        if (row->State() == HVDownloadStateIdle)
            row->PendingDownload();
        else
            row->ResetDownload();
    });
}
BENCHMARK(KeptQueueState)->UseRealTime()->MinTime(1);

void KeptQueueAdd(benchmark::State& state) {
    std::vector<std::shared_ptr<IHVDownloadController>> rows;
    for (int number = 0; number < 5000; ++number)
        rows.push_back(MakeRow(kRows + number));
    Changes(state, [&rows](auto& kept, int number) {
        kept.Controllers()->AddController(rows[static_cast<std::size_t>(number)]);
    });
}
BENCHMARK(KeptQueueAdd)->UseRealTime()->Iterations(5000);

void KeptQueueOpen(benchmark::State& state) {
    KeptQueue kept;
    for (auto _ : state) {
        state.PauseTiming();
        kept.queue.reset();
        state.ResumeTiming();
        kept.queue = kept.Open();
    }
    state.counters["rows"] = kept.queue->Controllers()->GetControllerCount();
}
BENCHMARK(KeptQueueOpen)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace

// Starting a child from a small and from a large process, and how soon its end is known.

#include "IHVTask.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstring>
#include <string>
#include <vector>

using namespace Halvorn;

namespace {

/// Start to known end of a child that does nothing, with so many MiB of touched memory in this process.
void LaunchAndEnd(benchmark::State& state) {
    std::vector<char> ballast(static_cast<std::size_t>(state.range(0)) << 20, '\1');
    benchmark::DoNotOptimize(ballast.data());
    for (auto _ : state)
        IHVTask::LaunchTask("/bin/true", {})->WaitExit(HVInfiniteTimeOut);
}
BENCHMARK(LaunchAndEnd)->Arg(0)->Arg(2048)->Unit(benchmark::kMicrosecond)->UseRealTime();

/// From the child's last act, which is to print the time, to the moment at which its end is known.
void EndIsKnownAfter(benchmark::State& state) {
    for (auto _ : state) {
        auto const task = IHVTask::MallocTask();
        std::string text;
        task->SetOutputHandler([&](std::shared_ptr<IHVData const> data) { text += data->ToText(); });
        task->Launch("/bin/date", {"+%s%N"}, true);
        task->WaitExit(HVInfiniteTimeOut);
        auto const now = std::chrono::system_clock::now().time_since_epoch();
        auto const printed = std::chrono::nanoseconds(std::stoll(text));
        state.SetIterationTime(std::chrono::duration<double>(now - printed).count());
    }
}
BENCHMARK(EndIsKnownAfter)->Unit(benchmark::kMicrosecond)->UseManualTime();

/// 200 children at once, start to end of all.
void ManyAtOnce(benchmark::State& state) {
    for (auto _ : state) {
        std::vector<std::shared_ptr<IHVTask>> tasks;
        for (int i = 0; i < state.range(0); ++i)
            tasks.push_back(IHVTask::LaunchTask("/bin/cat", {}));
        for (auto const& task : tasks)
            task->WaitExit(HVInfiniteTimeOut);
    }
}
BENCHMARK(ManyAtOnce)->Arg(6)->Arg(200)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

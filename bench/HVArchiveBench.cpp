// An archive of 100,000 identities, in both of its forms: 0 is the tool's text, 1 the database.

#include "IHVDownloadArchive.h"

#include <benchmark/benchmark.h>

#include <filesystem>

using namespace Halvorn;

namespace {

constexpr int kIdentities = 100'000;

std::string Identity(int number) {
    return "youtube " + std::to_string(10'000'000'000 + number * 7919LL);
}

/// Made once for each form, and left for the next one in the folder for temporary files.
std::string const& File(benchmark::State const& state) {
    static std::string const folder = [] {
        auto const path = std::filesystem::temp_directory_path() / "reelhaul-archive-bench";
        std::filesystem::remove_all(path);
        std::filesystem::create_directories(path);
        std::vector<std::string> identities;
        for (int i = 0; i < kIdentities; ++i)
            identities.push_back(Identity(i));
        for (char const* const name : {"archive.txt", "archive.db"})
            IHVDownloadArchive::MallocDownloadArchive(path / name)->AddAll(identities);
        return path.string();
    }();
    static std::string const files[] = {folder + "/archive.txt", folder + "/archive.db"};
    return files[state.range(0)];
}

void ArchiveOpen(benchmark::State& state) {
    std::string const& file = File(state);
    for ([[maybe_unused]] auto _ : state)
        if (!IHVDownloadArchive::MallocDownloadArchive(file)->ContainsAny({Identity(1)}))
            state.SkipWithError("not found");
    state.counters["bytes"] = static_cast<double>(std::filesystem::file_size(file));
}
BENCHMARK(ArchiveOpen)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void ArchiveLookUp(benchmark::State& state) {
    auto const archive = IHVDownloadArchive::MallocDownloadArchive(File(state));
    archive->Open();
    int number = 0;
    for ([[maybe_unused]] auto _ : state) // every other one is not there
        benchmark::DoNotOptimize(archive->ContainsAny({Identity(++number * 31 % (2 * kIdentities))}));
}
BENCHMARK(ArchiveLookUp)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void ArchiveAdd(benchmark::State& state) {
    auto const archive = IHVDownloadArchive::MallocDownloadArchive(File(state));
    archive->Open();
    static int number = 2 * kIdentities;
    for ([[maybe_unused]] auto _ : state)
        if (!archive->AddAll({Identity(++number)})->Succeed())
            state.SkipWithError("not added");
}
BENCHMARK(ArchiveAdd)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->Iterations(200);

} // namespace

// From the tool's JSON to the model: throughput, and memory over the size of the document.

#include "HVDownloadTaskParser.h"
#include "HVJsonObjectPlayItem.h"
#include "HVJsonObjectPlayList.h"
#include "IHVDownloadItem.h"
#include "IHVJsonValue.h"

#include <benchmark/benchmark.h>

#include <fstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#ifdef __GLIBC__
#include <malloc.h>
#endif

using namespace Halvorn;

namespace {

/// One row of "formats", as long as the tool's own are.
std::string FormatRow(int index) {
    bool const audio = index % 10 == 9;
    std::string const number = std::to_string(index);
    std::string row = R"({"format_id": ")" + number + R"(", "format_note": "note )" + number +
                      R"(", "url": "http://127.0.0.1/media/)" + std::string(400, 'u') + number +
                      R"(", "manifest_url": null, "ext": "mp4", "protocol": "https", )" + R"("vcodec": ")" +
                      (audio ? "none" : "avc1.640028") + R"(", "acodec": ")" +
                      (audio ? "mp4a.40.2" : "none") + R"(", "language": null, "filesize": )" +
                      std::to_string(1000000 + index * 977) + R"(, "tbr": )" + std::to_string(100 + index) +
                      R"(.25, "fps": 25, "asr": 44100, "audio_channels": 2, "dynamic_range": "SDR", )";
    row += audio ? R"("resolution": "audio only", )"
                 : R"("width": )" + std::to_string(320 + index) + R"(, "height": 720, "resolution": ")" +
                       std::to_string(320 + index) + R"(x720", )";
    row +=
        R"("http_headers": {"User-Agent": "Mozilla/5.0", "Accept": "text/html", "Accept-Language": "en"}, )"
        R"("container": "m4a_dash", "format": ")" +
        number + (audio ? " - audio only" : " - picture") + "\"}";
    return row;
}

std::string ItemDocument(int formats) {
    std::string text = R"({"id": "x", "title": "A title", "duration": 120, "formats": [)";
    for (int i = 0; i < formats; ++i)
        text += (i == 0 ? "" : ", ") + FormatRow(i);
    return text + "]}\n";
}

std::string FlatListDocument(int entries) {
    std::string text = R"({"_type": "playlist", "id": "p", "title": "A list", "entries": [)";
    for (int i = 0; i < entries; ++i)
        text +=
            std::string(i == 0 ? "" : ", ") + R"({"_type": "url", "id": "e)" + std::to_string(i) +
            R"(", "url": "http://127.0.0.1/watch/)" + std::to_string(i) +
            R"(", "title": "Entry with a title of some length", "duration": 12.5, "thumbnails": [{"url": "http://127.0.0.1/t.jpg"}], )" +
            R"("view_count": 123456, "availability": null, "channel": "A channel"})";
    return text + "]}\n";
}

void LoadItem(std::string const& text) {
    auto json = std::make_shared<HVJsonObjectPlayItem>();
    json->LoadFromJsonString(text);
    auto item = IHVDownloadItem::MallocDownloadItem("http://127.0.0.1/");
    HVDownloadTaskParser::GetPlayItemFormats(item, json);
    benchmark::DoNotOptimize(item->GetDownloadFormatCount());
}

void LoadList(std::string const& text) {
    HVJsonObjectPlayList list;
    list.LoadFromJsonString(text);
    std::size_t length = 0;
    for (int i = 0; i < list.GetEntriesCount(); ++i)
        length += list.GetEntriesJsonObject(i)->GetURL().size();
    benchmark::DoNotOptimize(length);
}

/// One figure of /proc/self/status in bytes; 0 where there is none.
double StatusBytes(std::string const& name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind(name + ":", 0) == 0)
            return std::stod(line.substr(name.size() + 1)) * 1024.0;
    return 0;
}

/// By how many bytes the memory of a process grows at the most while it does `work`: in a child that gives
/// back first what earlier work left. 0 where the system does not tell.
template <typename Work>
double PeakGrowth(Work work) {
    int ends[2];
    if (pipe(ends) != 0)
        return 0;
    pid_t const child = fork();
    if (child == 0) {
#ifdef __GLIBC__
        malloc_trim(0);
#endif
        std::ofstream("/proc/self/clear_refs") << "5" << std::flush;
        double const before = StatusBytes("VmHWM");
        work();
        double const growth = StatusBytes("VmHWM") - before;
        _exit(write(ends[1], &growth, sizeof growth) == sizeof growth ? 0 : 1);
    }
    double growth = 0;
    if (read(ends[0], &growth, sizeof growth) != sizeof growth)
        growth = 0;
    waitpid(child, nullptr, 0);
    close(ends[0]);
    close(ends[1]);
    return growth;
}

template <typename Load>
void Measure(benchmark::State& state, std::string const& text, Load load) {
    for (auto _ : state)
        load(text);
    state.SetBytesProcessed(static_cast<int64_t>(text.size()) * state.iterations());
    auto const size = static_cast<double>(text.size());
    state.counters["document_KiB"] = size / 1024.0;
    state.counters["peak_over_document"] = PeakGrowth([&] { load(text); }) / size;
}

void ItemToModel(benchmark::State& state) {
    Measure(state, ItemDocument(static_cast<int>(state.range(0))), LoadItem);
}
BENCHMARK(ItemToModel)->Arg(50)->Arg(2000)->Unit(benchmark::kMillisecond);

void FlatListToEntries(benchmark::State& state) {
    Measure(state, FlatListDocument(static_cast<int>(state.range(0))), LoadList);
}
BENCHMARK(FlatListToEntries)->Arg(200)->Arg(5000)->Arg(100000)->Unit(benchmark::kMillisecond);

/// A printed table of so many rows; the time over the rows tells whether it is linear.
void TableToItem(benchmark::State& state) {
    std::string text =
        "ID     EXT   RESOLUTION FPS CH |   FILESIZE   TBR PROTO | VCODEC        VBR ACODEC      ABR ASR\n"
        "------------------------------------------------------------------------------------------\n";
    for (int i = 0; i < state.range(0); ++i) {
        std::string const number = std::to_string(100000 + i);
        text += number + (i % 2 == 0 ? " mp4   1920x" + number.substr(2) +
                                           "  25  2 |    1.50MiB 1000k https | avc1.640028  900k "
                                           "video only\n"
                                     : " webm  audio only      2 |  500.00KiB  " + number.substr(3) +
                                           "k https | audio only        opus       128k 44k\n");
    }
    text += "name.mp4\n1:02\n";
    for (auto _ : state) {
        auto task = std::make_shared<HVDownloadTaskParser>("x", HVAnalysisRoute::PlainText);
        auto item = IHVDownloadItem::MallocDownloadItem("x");
        task->ParseDownloadItemInfo(text, item);
        benchmark::DoNotOptimize(item->GetDownloadFormatCount());
    }
    state.SetItemsProcessed(state.range(0) * state.iterations());
}
BENCHMARK(TableToItem)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

} // namespace

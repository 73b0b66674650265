// Shows the entries of a playlist as they load, and which of them did not.
//
//   example_playlist URL

#include <Reelhaul/Reelhaul.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

using namespace Halvorn;

namespace {

//! [delegate]
/// Each entry is reported by its item, where it loads, and then by a progress. All reports come on the task's
/// one worker thread, so nothing here needs a lock; the main thread reads only after the end.
class PlayList final : public IHVDownloadTaskDelegate {
public:
    std::shared_ptr<IHVPlayList> list;
    std::shared_ptr<IHVError const> result;

    void DownloadTaskStarted(std::string, IHVDownloadTask const*) override {}
    void DownloadTaskGetPlayItem(std::shared_ptr<IHVDownloadItem> item, IHVDownloadTask const*) override {
        std::printf("%d. %s\n", item->GetEntryIndexOfPlayList() + 1, item->GetFileName().c_str());
    }
    void DownloadTaskProgress(std::string message, float percent, IHVDownloadTask const*) override {
        std::fprintf(stderr, "%s (%.0f %%)\n", message.c_str(), static_cast<double>(percent));
    }
    void DownloadTaskGetPlayList(std::shared_ptr<IHVPlayList> playList, IHVDownloadTask const*) override {
        list = std::move(playList);
    }
    void DownloadTaskCompleted(std::shared_ptr<IHVError const> error, IHVDownloadTask const*) override {
        result = std::move(error); // a success as soon as one entry has loaded
    }
};
//! [delegate]

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: example_playlist URL\n");
        return 2;
    }
    IHVDownloadPlugin::UseLocalPluginForThisProcess(false); // the tools beside the library
    PlayList found;
    auto const task = IHVDownloadTask::MallocDownloadTask(argv[1]);
    task->SetDelegate(&found);
    task->SetJSRuntimePath(IHVDownloadPlugin::BuiltInJSRuntimePathFile());
    //! [full]
    task->SetFullAnalysis(true);    // take what the tool finds as the tool takes it
    task->SetThumbnailBytes(false); // no run of the tool for each picture
    task->SetListDepth(1);          // go into lists inside the list, such as the tabs of a channel
    task->SetAnalysesAtOnce(4);     // load so many entries at the same time
    task->SetListFunc([](std::shared_ptr<IHVPlayList const> const& list,
                         std::vector<HVListEntry> const& entries) { // before any entry is loaded
        std::printf("%s: %zu entries\n", list->GetTitle().c_str(), entries.size());
    });
    task->SetEntryFilter([](HVListEntry const& entry) { return entry.durationSeconds < 3600; });
    //! [full]
    task->StartTask();
    task->WaitFinish(HVInfiniteTimeOut); // "found" is not owned by the task and has to outlive its run
    if (!found.result->Succeed()) {
        std::fprintf(stderr, "%s: %s\n", argv[1], found.result->GetPlainMessage().c_str());
        return 1;
    }
    //! [failed]
    auto const failed = task->FailedEntries();
    for (auto const& entry : failed)
        std::printf("entry %d did not load: %s\n", entry.number, entry.error->GetPlainMessage().c_str());
    //! [failed]
    if (found.list != nullptr)
        std::printf("%s: %d of %zu entries\n", found.list->GetTitle().c_str(),
                    found.list->GetDownloadItemCount(),
                    failed.size() + found.list->GetDownloadItems().size());
    return failed.empty() ? 0 : 1;
}

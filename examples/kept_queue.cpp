// A queue that outlives the program: takes addresses up as rows, and downloads what waits. Ended in any way
// and started again without an address, it goes on.
//
//   example_kept_queue FILE FOLDER [URL...]

#include <Reelhaul/Reelhaul.h>

#include <cstdio>

using namespace Halvorn;

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: example_kept_queue FILE FOLDER [URL...]\n");
        return 2;
    }
    IHVDownloadPlugin::UseLocalPluginForThisProcess(false); // the tools beside the library
    //! [open]
    HVKeptQueueSettings settings;
    settings.jsRuntimePath = IHVDownloadPlugin::BuiltInJSRuntimePathFile();
    std::shared_ptr<IHVError const> error;
    auto const kept = IHVKeptQueue::Open(argv[1], settings, error);
    if (kept == nullptr) { // another process has it, it is damaged, or a newer version has written it
        std::fprintf(stderr, "%s\n", error->GetPlainMessage().c_str());
        return 1;
    }
    auto const queue = kept->Controllers(); // from here on what is done to it is stored
    for (int i = 3; i < argc; ++i) {
        auto const row = IHVDownloadController::MallocDownloadController(
            IHVDownloadItem::MallocDownloadItem(argv[i]), argv[2]);
        row->SetJSRuntimePath(settings.jsRuntimePath);
        row->SetAnalysisAtStart({}); // the best format, as soon as it is known
        queue->AddController(row);
        row->PendingDownload(); // waits for a place, in the next run of the program if need be
    }
    //! [open]
    //! [run]
    kept->StartWaiting();
    queue->WaitFinish(HVInfiniteTimeOut);
    for (int const index : queue->AllControllers()) {
        auto const row = queue->GetController(index);
        auto const result = row->LastError();
        std::printf("%s: %s\n", row->GetDownloadOutputName().c_str(),
                    row->DownloadSucceed() ? row->DownloadOutputPathFile().c_str()
                    : result != nullptr    ? result->GetPlainMessage().c_str()
                                           : "waits");
    }
    return kept->Close(HVInfiniteTimeOut) == HVErrSuccess ? 0 : 1; // before the program ends, at any time
    //! [run]
}

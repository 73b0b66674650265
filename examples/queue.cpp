// Downloads the items of several addresses, two at a time, and tells how far each one is.
//
//   example_queue FOLDER URL...

#include "Analysis.h"

#include <cstdio>

using namespace Halvorn;

namespace {

//! [row]
/// A row of the queue. Its callbacks come on threads of the library, those of several rows at the same time:
/// each line is one call of printf, which the C library makes whole.
std::shared_ptr<IHVDownloadController> NewRow(std::shared_ptr<IHVDownloadItem> const& item,
                                              std::string const& folder) {
    auto row = IHVDownloadController::MallocDownloadController(item, folder);
    row->SetJSRuntimePath(IHVDownloadPlugin::BuiltInJSRuntimePathFile());
    // The controller owns its callbacks. One that held the controller by a shared pointer would keep both for
    // ever; a plain pointer is valid as long as a callback runs.
    auto* const self = row.get();
    row->SetDownloadProgressFunc([self, shown = -1](float percent) mutable {
        int const tenth = static_cast<int>(percent / 10);
        if (std::exchange(shown, tenth) != tenth)
            std::fprintf(stderr, "%s: %.0f %% %s\n", self->GetDownloadOutputName().c_str(),
                         static_cast<double>(percent), self->ProgressText().c_str());
    });
    row->SetDownloadCompleteFunc([self](std::shared_ptr<IHVError const> error) {
        std::printf("%s: %s\n", self->GetDownloadOutputName().c_str(),
                    error->Succeed() ? self->DownloadOutputPathFile().c_str()
                                     : error->GetErrorMessage().c_str());
    });
    return row;
}
//! [row]

} // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: example_queue FOLDER URL...\n");
        return 2;
    }
    IHVDownloadPlugin::UseLocalPluginForThisProcess(false); // the tools beside the library
    bool complete = true;
    std::vector<std::shared_ptr<IHVDownloadItem>> items;
    for (int i = 2; i < argc; ++i) {
        Analysis analysis(argv[i]);
        analysis.Wait();
        if (!analysis.result->Succeed())
            std::fprintf(stderr, "%s: %s\n", argv[i], analysis.result->GetErrorMessage().c_str());
        complete = complete && analysis.result->Succeed();
        items.insert(items.end(), analysis.items.begin(), analysis.items.end());
    }
    //! [queue]
    auto const queue = IHVDownloadControllers::MallocDownloadControllers();
    queue->SetConcurrentDownload(2);
    for (auto const& item : items)
        queue->AddController(NewRow(item, argv[1]));
    queue->StartAll();                    // two start, the others become Pending
    queue->WaitFinish(HVInfiniteTimeOut); // until all have ended and their functions have returned
    for (int const row : queue->AllControllers())
        complete = complete && queue->GetController(row)->DownloadSucceed();
    //! [queue]
    return complete ? 0 : 1;
}

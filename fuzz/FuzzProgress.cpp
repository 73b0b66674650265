// The tool's progress lines in any split: the reported percentage never falls nor leaves its range.

#include "HVDownloadTaskDownload.h"
#include "HVFuzz.h"
#include "IHVDownloadItem.h"
#include "IHVDownloadTaskDelegate.h"

#include <stdexcept>

using namespace Halvorn;

namespace {

struct Listener final : IHVDownloadTaskDelegate {
    float latest = 0;
    void DownloadTaskStarted(std::string, IHVDownloadTask const*) override {}
    void DownloadTaskProgress(std::string, float percent, IHVDownloadTask const*) override {
        HV_FUZZ_CHECK(percent > latest && percent <= 100.0F);
        latest = percent;
    }
    void DownloadTaskGetPlayList(std::shared_ptr<IHVPlayList>, IHVDownloadTask const*) override {}
    void DownloadTaskGetPlayItem(std::shared_ptr<IHVDownloadItem>, IHVDownloadTask const*) override {}
    void DownloadTaskCompleted(std::shared_ptr<IHVError const>, IHVDownloadTask const*) override {}
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    Listener listener;
    auto task = std::make_shared<HVDownloadTaskDownload>(IHVDownloadItem::MallocDownloadItem("x"), "/");
    task->SetDelegate(&listener);
    for (auto const& chunk : FuzzParts(data, size, size)) {
        try {
            task->ParseDownloadOutputInfo(chunk);
        } catch (std::logic_error const&) { // NOLINT(bugprone-empty-catch): a token that looks like a number
        }
    }
    return 0;
}

#include "HVItemLookUp.h"

#include "HVDownloadItem.h"
#include "HVDownloadTaskParser.h"
#include "HVExplainedError.h"
#include "HVToolStop.h"
#include "IHVDownloadTaskDelegate.h"

#include <algorithm>
#include <utility>

namespace Halvorn {

namespace {

constexpr char kFile[] = "HVItemLookUp";

/// Everything comes on the one thread.
class Reports final : public IHVDownloadTaskDelegate {
public:
    void DownloadTaskStarted(std::string, IHVDownloadTask const*) override {}
    void DownloadTaskProgress(std::string, float, IHVDownloadTask const*) override {}
    void DownloadTaskGetPlayList(std::shared_ptr<IHVPlayList>, IHVDownloadTask const*) override {}
    void DownloadTaskGetPlayItem(std::shared_ptr<IHVDownloadItem> found, IHVDownloadTask const*) override {
        item = std::dynamic_pointer_cast<HVDownloadItem>(found);
    }
    void DownloadTaskCompleted(std::shared_ptr<IHVError const> result, IHVDownloadTask const*) override {
        error = std::move(result);
    }

    std::shared_ptr<HVDownloadItem> item;
    std::shared_ptr<IHVError const> error;
};

std::shared_ptr<IHVError const> Failure(char const* message) {
    return FaultError(kFile, __LINE__, "LookUpItem", message, FaultOfKind(HVErrorKindUnsupportedAddress));
}

} // namespace

HVFoundItem LookUpItem(HVDownloadTask& asker, std::string const& address, int entry) {
    auto const task = std::make_shared<HVDownloadTaskParser>(address);
    auto const reports = std::make_shared<Reports>();
    task->SetOwnDelegate(reports);
    task->SetOptions(asker.GetMutableOptions());
    task->SetJSRuntimePath(asker.GetJSRuntimePath());
    int const wanted = std::max(entry, 0) + 1;
    int listed = 0;
    auto& settings = task->Settings();
    settings.full = true;
    settings.thumbnailBytes = false;
    settings.forDownload = true;
    // Two tell that there are several, without the thousands of a channel.
    settings.ranges = {{wanted, entry < 0 ? wanted + 1 : wanted}};
    settings.filter = [&listed, wanted](HVListEntry const& told) {
        ++listed;
        return told.number == wanted;
    };
    HVToolStop::Attachment const attachment(asker.Stop(), [task] { task->StopTask(); });
    // A stop from before the attachment is seen here.
    if (!asker.UserCancel())
        task->asyncProgressTask();
    if (asker.UserCancel())
        return {nullptr, IHVError::MallocCancel(kFile, __LINE__, "LookUpItem")};
    if (entry < 0 && listed > 1)
        return {nullptr, Failure("The address leads to a list, not to one item. Analyse it, and download "
                                 "its items.")};
    if (reports->item != nullptr)
        return {reports->item, nullptr};
    bool const failed = reports->error != nullptr && !reports->error->Succeed();
    return {nullptr, failed ? reports->error : Failure("There is no item at the address.")};
}

} // namespace Halvorn

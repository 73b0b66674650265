#pragma once
// One run of a controller: what the run's task reports to. The task owns it, and it passes the reports on to
// the controller as long as that lives.

#include "HVDownloadController.h"

#include <memory>
#include <string>

namespace Halvorn {

class HVDownloadRun final : public IHVDownloadTaskDelegate {
public:
    explicit HVDownloadRun(std::weak_ptr<HVDownloadController> controller)
        : controller_(std::move(controller)) {}

    void DownloadTaskStarted(std::string message, IHVDownloadTask const* task) override;
    void DownloadTaskProgress(std::string message, float percent, IHVDownloadTask const* task) override;
    void DownloadTaskGetPlayList(std::shared_ptr<IHVPlayList>, IHVDownloadTask const*) override {}
    void DownloadTaskGetPlayItem(std::shared_ptr<IHVDownloadItem>, IHVDownloadTask const*) override {}
    void DownloadTaskCompleted(std::shared_ptr<IHVError const> error, IHVDownloadTask const* task) override;

private:
    std::weak_ptr<HVDownloadController> const controller_;
};

} // namespace Halvorn

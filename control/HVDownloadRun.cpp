#include "HVDownloadRun.h"

#include <utility>

namespace Halvorn {

void HVDownloadRun::DownloadTaskStarted(std::string message, IHVDownloadTask const* task) {
    if (auto const controller = controller_.lock())
        controller->DownloadTaskStarted(std::move(message), task);
}

void HVDownloadRun::DownloadTaskProgress(std::string message, float percent, IHVDownloadTask const* task) {
    if (auto const controller = controller_.lock())
        controller->DownloadTaskProgress(std::move(message), percent, task);
}

void HVDownloadRun::DownloadTaskCompleted(std::shared_ptr<IHVError const> error,
                                          IHVDownloadTask const* task) {
    if (auto const controller = controller_.lock())
        controller->DownloadTaskCompleted(std::move(error), task);
}

} // namespace Halvorn

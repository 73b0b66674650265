// What a controller hands to the task of each new run.

#include "HVDownloadController.h"

#include "HVDownloadTaskDownload.h"

#include <utility>

namespace Halvorn {

void HVDownloadController::HandSettings(HVDownloadTask& task) const {
    task.SetJSRuntimePath(Get(jsRuntimePath_));
    if (auto* const download = dynamic_cast<HVDownloadTaskDownload*>(&task)) {
        if (auto const settings = Get(resume_))
            download->SetResume(*settings);
        download->SetNameTemplate(Get(nameTemplate_));
    }
    if (auto options = Get(options_))
        task.SetOptions(std::move(options));
}

} // namespace Halvorn

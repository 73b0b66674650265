#pragma once
/// \class Halvorn::IHVDownloadTaskDelegate
/// What a task reports to its owner: implemented by an application for an analysis and by the library's
/// controllers for downloads.
///
/// Thread-safety: the operations are called on the task's threads, unless the application has set an
/// IHVCallbackDispatcher, which brings them to a thread of its own. `DownloadTaskProgress` of a download
/// comes on the thread that delivers the tool's output, all else on the task's worker thread. A call that
/// blocks holds the task up; what a call throws is logged and changes nothing. Ownership: a task does not own
/// its delegate; keep the delegate alive until `SetDelegate` of the task has replaced it, or, for an analysis
/// without a dispatcher, until `WaitFinish` has reported the end.

#include "HVExport.h"
#include "IHVError.h"

#include <memory>
#include <string>

namespace Halvorn {

class IHVDownloadItem;
class IHVDownloadTask;
class IHVPlayList;

class HV_EXPORT IHVDownloadTaskDelegate {
public:
    /// The worker runs. The text is ready to be shown.
    virtual void DownloadTaskStarted(std::string message, IHVDownloadTask const* task) = 0;
    /// `percent` is 0 to 100. An analysis reports each entry of a playlist, whether it loaded or not, after
    /// its item; a download's value never falls.
    virtual void DownloadTaskProgress(std::string message, float percent, IHVDownloadTask const* task) = 0;
    /// A playlist, after all its items; at most once.
    virtual void DownloadTaskGetPlayList(std::shared_ptr<IHVPlayList> playList,
                                         IHVDownloadTask const* task) = 0;
    /// An item: the one of the address, or each of a playlist as it loads. An analysis from tables hands over
    /// a playlist's items with the playlist alone.
    virtual void DownloadTaskGetPlayItem(std::shared_ptr<IHVDownloadItem> item,
                                         IHVDownloadTask const* task) = 0;
    /// The end, with its result. An analysis that is stopped after its only tool run reports twice: the
    /// cancel, then the success.
    virtual void DownloadTaskCompleted(std::shared_ptr<IHVError const> error,
                                       IHVDownloadTask const* task) = 0;

protected:
    ~IHVDownloadTaskDelegate() = default;
};

} // namespace Halvorn

#include "HVAnalysis.h"

#include "HVRequest.h"

#include <utility>

namespace Halvorn {

namespace {

/// What a task may still take after it reported its end.
constexpr unsigned int kLastSteps = 2000;

} // namespace

HVAnalysis::HVAnalysis(std::shared_ptr<HVMainQueue> queue, Listener listener)
    : queue_(std::move(queue)), listener_(std::move(listener)) {}

std::shared_ptr<IHVError const> HVAnalysis::Start(std::string const& url, HVRequest const& request) {
    task_ = request.text ? IHVDownloadTask::MallocTextDownloadTask(url)
                         : IHVDownloadTask::MallocDownloadTask(url);
    fromTables_ = request.text;
    task_->SetDelegate(this);
    task_->SetJSRuntimePath(request.jsRuntime);
    if (request.options)
        task_->SetOptions(request.options);
    self_ = shared_from_this();
    auto error = task_->StartTask();
    if (!error->Succeed())
        self_.reset();
    return error;
}

void HVAnalysis::Stop() {
    task_->StopTask();
}

void HVAnalysis::Post(std::function<void(HVAnalysis&)> work) {
    // A stopped analysis may report its end twice; the first one counts.
    queue_->Post([self = shared_from_this(), work = std::move(work)] {
        if (!self->done_)
            work(*self);
    });
}

void HVAnalysis::DownloadTaskStarted(std::string message, IHVDownloadTask const* /*task*/) {
    Post([message = std::move(message)](HVAnalysis& self) { self.listener_.progress(message); });
}

void HVAnalysis::DownloadTaskProgress(std::string message, float /*percent*/,
                                      IHVDownloadTask const* /*task*/) {
    Post([message = std::move(message)](HVAnalysis& self) {
        ++self.entryCount_;
        if (!self.itemOfEntry_ && !self.fromTables_)
            self.failedEntries_.push_back(self.entryCount_);
        self.itemOfEntry_ = false;
        self.listener_.progress(message);
    });
}

void HVAnalysis::DownloadTaskGetPlayList(std::shared_ptr<IHVPlayList> playList,
                                         IHVDownloadTask const* /*task*/) {
    Post([playList = std::move(playList)](HVAnalysis& self) {
        if (self.fromTables_)
            self.TakeItemsOf(playList);
        self.listener_.playList(playList);
    });
}

void HVAnalysis::DownloadTaskGetPlayItem(std::shared_ptr<IHVDownloadItem> item,
                                         IHVDownloadTask const* /*task*/) {
    Post([item = std::move(item)](HVAnalysis& self) {
        self.itemOfEntry_ = true;
        self.listener_.item(item);
    });
}

void HVAnalysis::DownloadTaskCompleted(std::shared_ptr<IHVError const> error,
                                       IHVDownloadTask const* /*task*/) {
    Post([error = std::move(error)](HVAnalysis& self) { self.Finish(error); });
}

/// From tables the items come all at once, with the list, and without their place in it: which of them failed
/// is not told, only how many.
void HVAnalysis::TakeItemsOf(std::shared_ptr<IHVPlayList> const& playList) {
    int row = 0;
    for (auto const& item : playList->GetDownloadItems()) {
        item->SetPlayList(playList, row++);
        listener_.item(item);
    }
    for (; row < entryCount_; ++row)
        failedEntries_.push_back(0);
}

void HVAnalysis::Finish(std::shared_ptr<IHVError const> const& error) {
    done_ = true;
    bool const over = task_->WaitFinish(kLastSteps) == HVErrSuccess;
    listener_.done(error);
    // A task that still works keeps its delegate until the end of the process.
    if (over)
        self_.reset();
}

} // namespace Halvorn

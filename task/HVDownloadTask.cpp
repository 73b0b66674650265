#include "HVDownloadTask.h"

#include "IHVDownloadTaskDelegate.h"
#include "IHVLogConfig.h"

#include <exception>
#include <utility>

namespace Halvorn {

void HVDownloadTask::SetOptions(std::shared_ptr<IHVDownloadOptions> options) {
    std::lock_guard const lock(mutex_);
    taskOptions_.swap(options);
}

std::shared_ptr<IHVDownloadOptions const> HVDownloadTask::GetOptions() const {
    return GetMutableOptions();
}

std::shared_ptr<IHVDownloadOptions> HVDownloadTask::GetMutableOptions() const {
    std::lock_guard const lock(mutex_);
    return taskOptions_;
}

void HVDownloadTask::SetDelegate(IHVDownloadTaskDelegate* delegate) {
    std::lock_guard const lock(mutex_);
    taskDelegate_ = delegate;
    delegateIsGuarded_ = false;
    delegateOwner_.reset();
}

void HVDownloadTask::SetGuardedDelegate(IHVDownloadTaskDelegate* delegate, std::weak_ptr<void> owner) {
    std::lock_guard const lock(mutex_);
    taskDelegate_ = delegate;
    delegateIsGuarded_ = true;
    delegateOwner_ = std::move(owner);
}

IHVDownloadTaskDelegate* HVDownloadTask::GetDelegate() {
    std::lock_guard const lock(mutex_);
    return taskDelegate_;
}

void HVDownloadTask::SetJSRuntimePath(std::string const& path) {
    std::lock_guard const lock(mutex_);
    jsRuntimePath_ = path;
}

std::string HVDownloadTask::GetJSRuntimePath() {
    std::lock_guard const lock(mutex_);
    return jsRuntimePath_;
}

std::shared_ptr<IHVError const> HVDownloadTask::StartTask() {
    std::shared_ptr<IHVThread> thread;
    {
        std::lock_guard const lock(mutex_);
        if (taskThread_ != nullptr)
            return IHVError::MallocError("HVDownloadTask", __LINE__, "StartTask", -1, "Error",
                                         "The download task was started.");
        userCancelled_ = false;
        // The function holds the task: its owner may drop it while it runs.
        thread = taskThread_ = IHVThread::MallocThread([self = shared_from_this()] { self->RunWorker(); });
    }
    // Without a thread there is no run, but whoever waits for its end must hear of it.
    if (auto const error = thread->Start(); !error->Succeed())
        notifyTaskComplete(error);
    return IHVError::MallocSucceed("HVDownloadTask", __LINE__, "StartTask");
}

void HVDownloadTask::StopTask() {
    userCancelled_ = true;
}

int HVDownloadTask::WaitFinish(unsigned int milliseconds) {
    std::shared_ptr<IHVThread> thread;
    {
        std::lock_guard const lock(mutex_);
        thread = taskThread_;
    }
    return thread == nullptr ? HVErrFailure : thread->WaitEnd(milliseconds);
}

void HVDownloadTask::RunWorker() {
    std::string failure;
    try {
        asyncProgressTask();
        return;
    } catch (std::exception const& error) {
        failure = error.what();
    } catch (...) {
        failure = "unknown failure";
    }
    IHVLogConfig::Printf(IHVLogConfig::LogLevelError, "A task ended by an exception: %s", failure.c_str());
    if (!completionReported_)
        notifyTaskComplete(IHVError::MallocError("HVDownloadTask", __LINE__, "RunWorker", -1, "Error",
                                                 "Unexpected failure: %s", failure.c_str()));
}

void HVDownloadTask::Notify(std::function<void(IHVDownloadTaskDelegate&)> const& call) {
    IHVDownloadTaskDelegate* delegate = nullptr;
    std::shared_ptr<void> owner;
    {
        std::lock_guard const lock(mutex_);
        owner = delegateOwner_.lock();
        delegate = delegateIsGuarded_ && owner == nullptr ? nullptr : taskDelegate_;
    }
    if (delegate != nullptr)
        call(*delegate);
}

void HVDownloadTask::notifyTaskStarted(std::string const& message) {
    Notify([&](auto& delegate) { delegate.DownloadTaskStarted(message, this); });
}

void HVDownloadTask::notifyTaskProgress(std::string const& message, float percent) {
    Notify([&](auto& delegate) { delegate.DownloadTaskProgress(message, percent, this); });
}

void HVDownloadTask::notifyTaskComplete(std::shared_ptr<IHVError const> error) {
    completionReported_ = true;
    Notify([&](auto& delegate) { delegate.DownloadTaskCompleted(error, this); });
}

void HVDownloadTask::notifyGetPlayList(std::shared_ptr<IHVPlayList> playList) {
    Notify([&](auto& delegate) { delegate.DownloadTaskGetPlayList(playList, this); });
}

void HVDownloadTask::notifyGetPlayItem(std::shared_ptr<IHVDownloadItem> item) {
    Notify([&](auto& delegate) { delegate.DownloadTaskGetPlayItem(item, this); });
}

} // namespace Halvorn

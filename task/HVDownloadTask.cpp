#include "HVDownloadTask.h"

#include "HVArgsBuilder.h"
#include "HVGroupMember.h"
#include "HVHTTPAddress.h"
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

void HVDownloadTask::TakeOptionsForSite(ChooseOptions choose) {
    std::lock_guard const lock(mutex_);
    chooseOptions_.swap(choose);
}

std::shared_ptr<IHVDownloadOptions> HVDownloadTask::OptionsFor(std::string const& address) {
    std::string const host = HostOfAddress(address);
    ChooseOptions choose;
    {
        std::lock_guard const lock(mutex_);
        if (auto const known = optionsOfHosts_.find(host); known != optionsOfHosts_.end())
            return known->second;
        if (!chooseOptions_)
            return taskOptions_;
        choose = chooseOptions_;
    }
    std::shared_ptr<IHVDownloadOptions> chosen;
    CallApplication([&] { chosen = choose(host); });
    std::lock_guard const lock(mutex_);
    // Where two threads have asked for one host, the first answer counts for both.
    return optionsOfHosts_.emplace(host, chosen != nullptr ? std::move(chosen) : taskOptions_).first->second;
}

void IHVDownloadTask::SetOptionsForSite(
    std::function<std::shared_ptr<IHVDownloadOptions>(std::string const& host)> choose) {
    if (auto* const task = dynamic_cast<HVDownloadTask*>(this))
        task->TakeOptionsForSite(std::move(choose));
}

void HVDownloadTask::SetDelegate(IHVDownloadTaskDelegate* delegate) {
    taskDelegate_.Set(delegate);
}

IHVDownloadTaskDelegate* HVDownloadTask::GetDelegate() {
    return taskDelegate_.Get();
}

void HVDownloadTask::SetOwnDelegate(std::shared_ptr<IHVDownloadTaskDelegate> delegate) {
    std::lock_guard const lock(mutex_);
    ownDelegate_.swap(delegate);
}

void HVDownloadTask::SetJSRuntimePath(std::string const& path) {
    std::lock_guard const lock(mutex_);
    jsRuntimePath_ = path;
}

std::string HVDownloadTask::GetJSRuntimePath() {
    std::lock_guard const lock(mutex_);
    return jsRuntimePath_;
}

std::size_t HVDownloadTask::Terms(std::string const& address) {
    HVArgsBuilder builder(OptionsFor(address));
    builder.SetJsRuntimePath(GetJSRuntimePath());
    std::string all;
    for (auto const& arg : builder.BuildParsePlayItemArgs("address", true))
        all.append(arg).push_back('\0');
    return std::hash<std::string>()(all);
}

std::shared_ptr<IHVError const> HVDownloadTask::StartTask() {
    std::shared_ptr<IHVThread> thread;
    {
        std::lock_guard const lock(mutex_);
        if (taskThread_ != nullptr)
            return IHVError::MallocError("HVDownloadTask", __LINE__, "StartTask", -1, "Error",
                                         "The download task was started.");
        stop_.Clear();
        stoppedInTime_ = false;
        // The function holds the task: its owner may drop it while it runs.
        thread = taskThread_ = IHVThread::MallocThread([self = shared_from_this()] { self->RunWorker(); });
    }
    // Without a thread there is no run, but the delegate and a waiting caller must hear of its end.
    if (auto const error = thread->Start(); !error->Succeed()) {
        notifyTaskComplete(error);
        LeaveGroup();
    }
    return IHVError::MallocSucceed("HVDownloadTask", __LINE__, "StartTask");
}

void HVDownloadTask::StopTask() {
    stoppedInTime_ = !workerEnded_;
    stop_.Request();
}

int HVDownloadTask::WaitFinish(unsigned int milliseconds) {
    std::shared_ptr<IHVThread> thread;
    {
        std::lock_guard const lock(mutex_);
        thread = taskThread_;
    }
    return thread == nullptr ? HVErrFailure : thread->WaitEnd(milliseconds);
}

bool IHVDownloadTask::WasStopped() const {
    auto const* const task = dynamic_cast<HVDownloadTask const*>(this);
    return task != nullptr && task->StoppedInTime();
}

bool HVDownloadTask::JoinGroup(std::shared_ptr<HVGroupMember> member) {
    std::lock_guard const lock(mutex_);
    if (group_ != nullptr || taskThread_ != nullptr)
        return false;
    group_ = std::move(member);
    return true;
}

std::shared_ptr<HVGroupMember> HVDownloadTask::Group() const {
    std::lock_guard const lock(mutex_);
    return group_;
}

void HVDownloadTask::LeaveGroup() {
    if (auto const group = Group())
        group->Ended();
}

void HVDownloadTask::ReportInTurn(std::function<void()> report) {
    if (auto const group = Group())
        group->Report(std::move(report));
    else
        report();
}

void HVDownloadTask::RunWorker() {
    WorkUnderGuard();
    LeaveGroup();
}

void HVDownloadTask::WorkUnderGuard() {
    std::string failure;
    try {
        asyncProgressTask();
        workerEnded_ = true;
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
    workerEnded_ = true;
}

void HVDownloadTask::Notify(std::function<void(IHVDownloadTaskDelegate&)> call) {
    std::shared_ptr<IHVDownloadTaskDelegate> own;
    {
        std::lock_guard const lock(mutex_);
        own = ownDelegate_;
    }
    if (own != nullptr) {
        call(*own);
        return;
    }
    // The delegate is looked up when the report runs: one that was replaced on the dispatcher's thread by
    // then hears nothing of it.
    auto tell = [this, call = std::move(call)] {
        taskDelegate_.With([&call](auto* delegate) { CallApplication([&] { call(*delegate); }); });
    };
    // The report keeps the task alive. A task that no pointer holds can't promise to outlive a dispatched
    // one.
    if (auto self = weak_from_this().lock())
        ReportInTurn(
            [self = std::move(self), tell = std::move(tell)] { DispatchReport([self, tell] { tell(); }); });
    else
        tell();
}

void HVDownloadTask::notifyTaskStarted(std::string const& message) {
    Notify([this, message](auto& delegate) { delegate.DownloadTaskStarted(message, this); });
}

void HVDownloadTask::notifyTaskProgress(std::string const& message, float percent) {
    // What a stopped child still prints is no progress any more.
    if (!completionReported_)
        Notify([=, this](auto& delegate) { delegate.DownloadTaskProgress(message, percent, this); });
}

void HVDownloadTask::notifyTaskComplete(std::shared_ptr<IHVError const> error) {
    completionReported_ = true;
    Notify([this, error](auto& delegate) { delegate.DownloadTaskCompleted(error, this); });
}

void HVDownloadTask::notifyGetPlayList(std::shared_ptr<IHVPlayList> playList) {
    Notify([this, playList](auto& delegate) { delegate.DownloadTaskGetPlayList(playList, this); });
}

void HVDownloadTask::notifyGetPlayItem(std::shared_ptr<IHVDownloadItem> item) {
    Notify([this, item](auto& delegate) { delegate.DownloadTaskGetPlayItem(item, this); });
}

} // namespace Halvorn

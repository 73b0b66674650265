#pragma once
// The frame of every task: its worker thread, its stop flag, and the way to its delegate.
//
// Thread-safety: as IHVDownloadTask says; the delegate, the options and the runtime path are guarded for the
// copy alone, and no lock is held while the delegate's code runs. asyncProgressTask runs on the worker.

#include "HVCallback.h"
#include "HVToolStop.h"
#include "IHVDownloadTask.h"
#include "IHVThread.h"

#include <atomic>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace Halvorn {

class HVGroupMember;
class IHVDownloadTaskDelegate;
class IHVPlayList;

class HVDownloadTask : public IHVDownloadTask, public std::enable_shared_from_this<HVDownloadTask> {
public:
    void SetOptions(std::shared_ptr<IHVDownloadOptions> options) override;
    std::shared_ptr<IHVDownloadOptions const> GetOptions() const override;
    void SetDelegate(IHVDownloadTaskDelegate* delegate) override;
    IHVDownloadTaskDelegate* GetDelegate() override;
    std::shared_ptr<IHVError const> StartTask() override;
    void StopTask() override;
    void SetJSRuntimePath(std::string const& path) override;
    std::string GetJSRuntimePath() override;
    int WaitFinish(unsigned int milliseconds) override;

    /// The whole work of the task.
    virtual void asyncProgressTask() = 0;

    /// Has the task report to a part of the library instead of the application's delegate: at once on the
    /// thread that reports, never through the dispatcher. The task owns it.
    void SetOwnDelegate(std::shared_ptr<IHVDownloadTaskDelegate> delegate);

    std::shared_ptr<IHVDownloadOptions> GetMutableOptions() const;
    using ChooseOptions = std::function<std::shared_ptr<IHVDownloadOptions>(std::string const& host)>;
    void TakeOptionsForSite(ChooseOptions choose);
    /// The bundle for what is to be asked at this address.
    std::shared_ptr<IHVDownloadOptions> OptionsFor(std::string const& address);
    bool UserCancel() const { return stop_.Requested(); }
    /// Whether StopTask was called while the run was under way.
    bool StoppedInTime() const { return stoppedInTime_; }
    /// Takes the task into a group of analyses. False for one that was started, or has a group.
    bool JoinGroup(std::shared_ptr<HVGroupMember> member);
    /// What the task has of its group; null without one.
    std::shared_ptr<HVGroupMember> Group() const;
    /// Runs what reports to the application: now, or when it is the turn of the task in its group.
    void ReportInTurn(std::function<void()> report);

    /// What the task's runs of the tool are ended by.
    HVToolStop* Stop() { return &stop_; }

    /// Stands for all that decides what the tool finds at this address; equal for equal options.
    std::size_t Terms(std::string const& address);

    void notifyTaskStarted(std::string const& message);
    void notifyTaskProgress(std::string const& message, float percent);
    void notifyTaskComplete(std::shared_ptr<IHVError const> error);
    void notifyGetPlayList(std::shared_ptr<IHVPlayList> playList);
    void notifyGetPlayItem(std::shared_ptr<IHVDownloadItem> item);

    // What a token of the tool's output is, by its characters alone, not by their order.
    static bool IsSizeString(std::string const& text);
    static bool IsBitratString(std::string const& text);
    static bool IsDurationString(std::string const& text);
    static bool IsPercentageString(std::string const& text);
    static bool IsSplitString(std::string const& text);

protected:
    HVDownloadTask() = default;
    ~HVDownloadTask() = default;

private:
    void RunWorker();
    void WorkUnderGuard();
    void LeaveGroup();
    void Notify(std::function<void(IHVDownloadTaskDelegate&)> call);

    HVCallbackSlot<IHVDownloadTaskDelegate*> taskDelegate_;
    mutable std::mutex mutex_; // guards what follows, down to the path
    std::shared_ptr<IHVDownloadTaskDelegate> ownDelegate_;
    std::shared_ptr<HVGroupMember> group_;
    std::shared_ptr<IHVDownloadOptions> taskOptions_;
    ChooseOptions chooseOptions_;
    std::map<std::string, std::shared_ptr<IHVDownloadOptions>> optionsOfHosts_; ///< that were asked for
    std::shared_ptr<IHVThread> taskThread_;
    std::string jsRuntimePath_;
    HVToolStop stop_;
    std::atomic<bool> stoppedInTime_ = false;
    std::atomic<bool> workerEnded_ = false;
    std::atomic<bool> completionReported_ = false;
};

} // namespace Halvorn

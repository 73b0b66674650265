#pragma once
// The frame of every task: its worker thread, its stop flag, and the way to its delegate.
//
// Thread-safety: as IHVDownloadTask says; the delegate, the options and the runtime path are guarded for the
// copy alone, and no lock is held while the delegate's code runs. asyncProgressTask runs on the worker.

#include "IHVDownloadTask.h"
#include "IHVThread.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace Halvorn {

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

    /// Sets the delegate together with the object that it lives in: a report keeps that object alive, and
    /// once it is gone nobody is told any more.
    void SetGuardedDelegate(IHVDownloadTaskDelegate* delegate, std::weak_ptr<void> owner);

    std::shared_ptr<IHVDownloadOptions> GetMutableOptions() const;
    bool UserCancel() const { return userCancelled_; }

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
    void Notify(std::function<void(IHVDownloadTaskDelegate&)> const& call);

    mutable std::mutex mutex_;
    IHVDownloadTaskDelegate* taskDelegate_ = nullptr;
    bool delegateIsGuarded_ = false;
    std::weak_ptr<void> delegateOwner_;
    std::shared_ptr<IHVDownloadOptions> taskOptions_;
    std::shared_ptr<IHVThread> taskThread_;
    std::string jsRuntimePath_;
    std::atomic<bool> userCancelled_ = false;
    std::atomic<bool> completionReported_ = false;
};

} // namespace Halvorn

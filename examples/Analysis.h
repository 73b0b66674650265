#pragma once
// The first step of most programs: what does an address hold? The examples share this delegate.

#include <Reelhaul/Reelhaul.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

//! [delegate]
/// Analyses an address and collects what is found. The reports come on the task's worker thread, one after
/// the other; Wait makes what they have written safe to read.
class Analysis final : public Halvorn::IHVDownloadTaskDelegate {
public:
    std::vector<std::shared_ptr<Halvorn::IHVDownloadItem>> items;
    std::shared_ptr<Halvorn::IHVError const> result;
    bool stopped = false; ///< by StopTask, whatever the result says

    using Options = std::shared_ptr<Halvorn::IHVDownloadOptions>;
    explicit Analysis(std::string const& url, Options options = nullptr,
                      std::function<Options(std::string const& host)> optionsForSite = nullptr)
        : task_(Halvorn::IHVDownloadTask::MallocDownloadTask(url)) {
        task_->SetDelegate(this); // not owned by the task: this object has to outlive its run
        task_->SetJSRuntimePath(Halvorn::IHVDownloadPlugin::BuiltInJSRuntimePathFile());
        task_->SetOptions(std::move(options));
        task_->SetOptionsForSite(std::move(optionsForSite));
        if (auto started = task_->StartTask(); !started->Succeed())
            result = started;
    }
    ~Analysis() {
        task_->StopTask(); // without effect on a run that is over
        Wait();
    }
    Analysis(Analysis const&) = delete;
    Analysis& operator=(Analysis const&) = delete;

    /// Blocks until the last report has been made.
    void Wait() { task_->WaitFinish(Halvorn::HVInfiniteTimeOut); }

    void DownloadTaskStarted(std::string, Halvorn::IHVDownloadTask const*) override {}
    void DownloadTaskProgress(std::string, float, Halvorn::IHVDownloadTask const*) override {}
    void DownloadTaskGetPlayList(std::shared_ptr<Halvorn::IHVPlayList>,
                                 Halvorn::IHVDownloadTask const*) override {}
    void DownloadTaskGetPlayItem(std::shared_ptr<Halvorn::IHVDownloadItem> item,
                                 Halvorn::IHVDownloadTask const*) override {
        items.push_back(std::move(item));
    }
    void DownloadTaskCompleted(std::shared_ptr<Halvorn::IHVError const> error,
                               Halvorn::IHVDownloadTask const* task) override {
        stopped = task->WasStopped();
        // The first end counts: an analysis that is stopped after its run of the tool reports the cancel, and
        // then the success of which no item came.
        if (result == nullptr)
            result = std::move(error);
    }

private:
    std::shared_ptr<Halvorn::IHVDownloadTask> task_;
};
//! [delegate]

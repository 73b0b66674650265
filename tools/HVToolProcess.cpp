// The child of a run: a new process, or one that comes out of the warm tool.

#include "HVWarmTool.h"
#include "IHVToolChild.h"

#include <utility>

namespace Halvorn {

namespace {

class HVToolProcess final : public IHVToolChild {
public:
    explicit HVToolProcess(std::shared_ptr<IHVTask> task) : task_(std::move(task)) {}

    int WaitExit(unsigned int milliseconds) override { return task_->WaitExit(milliseconds); }
    void Terminate() override { task_->Terminate(); }
    void Interrupt() override { task_->Interrupt(); }
    void OnExit(std::function<void()> function) override { task_->OnExit(std::move(function)); }
    HVChildEnd End() const override { return task_->ChildEnd(); }
    std::shared_ptr<IHVError const> DeliveryError() const override { return task_->DeliveryError(); }

private:
    std::shared_ptr<IHVTask> const task_;
};

IHVTask::Handler TextHandler(HVToolLaunch::Handler const& handler) {
    return [handler](std::shared_ptr<IHVData const> const& data) {
        if (data != nullptr && handler)
            handler(data->ToText());
    };
}

} // namespace

std::shared_ptr<IHVError const> StartToolProcess(HVToolLaunch const& launch,
                                                 std::shared_ptr<IHVToolChild>& child) {
    auto task = IHVTask::MallocTask();
    task->SetErrorHandler(TextHandler(launch.errorHandler));
    task->SetOutputHandler(TextHandler(launch.outputHandler));
    task->SetRuntimePath(launch.jsRuntimePath);
    task->SetPythonPath(launch.extensionFolder);
    task->SetEndsWithLeader(launch.endsWithLeader);
    if (launch.source != nullptr)
        task->SetSource(launch.source.get());
    else if (!launch.alwaysAnew)
        task->SetSource(&HVWarmTool::Shared());
    auto started = task->Launch(launch.exe, launch.args, true);
    if (started->Succeed())
        child = std::make_shared<HVToolProcess>(std::move(task));
    return started;
}

} // namespace Halvorn

#include "HVChildRegistry.h"
#include "HVLateLog.h"
#include "HVMaskedArguments.h"
#include "IHVLogConfig.h"
#include "IHVTask.h"

#include <cerrno>
#include <cstring>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace Halvorn {

namespace {

/// Why a program could not be started, for a user.
std::string StartFailure(std::string const& exe, int error) {
    struct stat status {};
    bool const exists = stat(exe.c_str(), &status) == 0;
    std::string const what = "Can't start \"" + exe + "\": ";
    if (!exists && error == ENOENT)
        return what + "there is no such file.";
    if (exists && S_ISDIR(status.st_mode))
        return what + "it is a folder.";
    if (exists && error == EACCES)
        return what + "the file can't be executed (it lacks the permission).";
    if (exists && error == ENOEXEC)
        return what + "the file is no program.";
    if (exists && error == ENOENT)
        return what + "the program that it is to be run with is missing.";
    if (error == ECANCELED)
        return what + "the application is about to end.";
    return what + std::strerror(error) + ".";
}

class HVTask final : public IHVTask {
public:
    std::shared_ptr<IHVError const> Launch(std::string const& exe, std::vector<std::string> const& args,
                                           bool /*flag*/) override {
        if (exe.empty())
            return Failure("Can't start the tool: no path to it is set, or its folder does not exist.");
        IHVLogConfig::DebugPrintf("Starting %s %s", exe.c_str(), MaskedArguments(args).c_str());
        HVLoggingLock const lock(mutex_);
        if (child_ != nullptr && child_->Wait(0) == HVErrTimeout)
            return Failure("Can't start \"" + exe + "\": the task runs already.");
        HVChildSetup setup{
            exe, args, runtimePath_, pythonPath_, outputHandler_, errorHandler_, endsWithLeader_, source_};
        std::shared_ptr<HVChildProcess> child;
        if (int const error = HVChildRegistry::Shared().Start(std::move(setup), child); error != 0)
            return Failure(StartFailure(exe, error));
        child_ = std::move(child);
        return IHVError::MallocSucceed("HVTask", __LINE__, "Launch");
    }

    void SetOutputHandler(Handler handler) override { outputHandler_ = std::move(handler); }
    void SetErrorHandler(Handler handler) override { errorHandler_ = std::move(handler); }
    void SetRuntimePath(std::string const& path) override { runtimePath_ = path; }
    void SetPythonPath(std::string const& folder) override { pythonPath_ = folder; }
    void SetEndsWithLeader(bool ends) override { endsWithLeader_ = ends; }
    void SetSource(HVChildSource* source) override { source_ = source; }

    int WaitExit(unsigned int milliseconds) override {
        auto const child = Child();
        return child == nullptr ? HVErrFailure : child->Wait(milliseconds);
    }

    void Terminate() override {
        if (auto const child = Child())
            child->Terminate();
    }

    void Interrupt() override {
        if (auto const child = Child())
            child->Interrupt();
    }

    void OnExit(std::function<void()> function) override {
        if (auto const child = Child())
            child->OnExit(std::move(function));
        else
            function();
    }

    HVChildEnd ChildEnd() const override {
        auto const child = Child();
        return child == nullptr ? HVChildEnd{} : child->End();
    }

    std::shared_ptr<IHVError const> DeliveryError() const override {
        auto const child = Child();
        return child == nullptr ? nullptr : child->DeliveryError();
    }

private:
    static std::shared_ptr<IHVError const> Failure(std::string const& message) {
        return IHVError::MallocError("HVTask", __LINE__, "Launch", -1, "Error", message.c_str());
    }

    std::shared_ptr<HVChildProcess> Child() const {
        std::lock_guard const lock(mutex_);
        return child_;
    }

    Handler outputHandler_;
    Handler errorHandler_;
    std::string runtimePath_;
    std::string pythonPath_;
    bool endsWithLeader_ = false;
    HVChildSource* source_ = nullptr;
    mutable std::mutex mutex_;
    std::shared_ptr<HVChildProcess> child_;
};

} // namespace

std::shared_ptr<IHVTask> IHVTask::MallocTask() {
    return std::make_shared<HVTask>();
}

void IHVTask::SuspendAll(bool suspend) {
    HVChildRegistry::Shared().SuspendAll(suspend);
}

std::chrono::steady_clock::time_point IHVTask::RunningTime() {
    return HVChildRegistry::Shared().RunningTime();
}

std::shared_ptr<IHVTask> IHVTask::LaunchTask(std::string const& exe, std::vector<std::string> const& args) {
    auto task = MallocTask();
    return task->Launch(exe, args, true)->Succeed() ? task : nullptr;
}

} // namespace Halvorn

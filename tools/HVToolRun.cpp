#include "HVToolRun.h"

#include "HVRunExtension.h"
#include "HVToolArguments.h"
#include "HVToolReport.h"
#include "HVToolStop.h"
#include "HVTotalRate.h"
#include "IHVJsonValue.h"
#include "IHVLogConfig.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <utility>

namespace Halvorn {

namespace {

using Clock = std::chrono::steady_clock;

/// How long a run goes on before the stop and the limits are looked at, in milliseconds. A stop ends the
/// child by itself; the look is for one that was requested before the run began, and for a child that ignores
/// it.
constexpr unsigned int kPollMilliseconds = 500;
constexpr unsigned int kWatchMilliseconds = 100;

unsigned int Passed(Clock::time_point since) {
    return static_cast<unsigned int>(
        std::chrono::duration_cast<std::chrono::milliseconds>(IHVTask::RunningTime() - since).count());
}

/// The system would cut such an argument short, and the tool would load another address.
bool HoldsNul(std::vector<std::string> const& args) {
    return std::any_of(args.begin(), args.end(),
                       [](std::string const& arg) { return arg.find('\0') != std::string::npos; });
}

} // namespace

struct HVToolRun::State {
    std::mutex mutex; // guards what follows, for moments
    std::string output;
    std::string errors;
    HVRaised raised; ///< what the tool raised last, as far as that tells a kind
    std::size_t bytes = 0;
    Clock::time_point lastOutput = IHVTask::RunningTime();
    HVToolResult::By endedBy = HVToolResult::By::Tool;
    bool interrupted = false;
    std::weak_ptr<IHVToolChild> child; ///< weak, since the child's handlers hold the state

    Clock::time_point const begin = IHVTask::RunningTime();

    /// Ends the child, unless it has ended. The first one who does so counts.
    void End(HVToolResult::By by) {
        std::shared_ptr<IHVToolChild> running;
        {
            std::lock_guard const lock(mutex);
            running = child.lock();
            if (running == nullptr || running->WaitExit(0) != HVErrTimeout)
                return;
            if (endedBy == HVToolResult::By::Tool)
                endedBy = by;
        }
        running->Terminate();
    }

    /// Interrupts the child, once.
    void Interrupt() {
        std::shared_ptr<IHVToolChild> running;
        {
            std::lock_guard const lock(mutex);
            running = child.lock();
            if (running == nullptr || interrupted)
                return;
            interrupted = true;
        }
        running->Interrupt();
    }

    bool TakeError(IHVJsonValue const& record) {
        if (record.GetValueString("record") != "error")
            return false;
        HVRaised const told = FaultOfReport(record);
        std::lock_guard const lock(mutex);
        if (told.fault.kind != HVErrorKindOther)
            raised = told;
        return true;
    }

    /// Counts a chunk, and cuts it at the limit.
    std::string Take(std::string const& chunk, std::size_t limit) {
        std::size_t room = chunk.size();
        {
            std::lock_guard const lock(mutex);
            lastOutput = IHVTask::RunningTime();
            if (limit != 0)
                room = std::min(room, limit - std::min(limit, bytes));
            bytes += chunk.size();
        }
        if (room < chunk.size())
            End(HVToolResult::By::OutputLimit);
        return chunk.substr(0, room);
    }
};

HVToolRun::HVToolRun(std::string exe, std::vector<std::string> args) : state_(std::make_shared<State>()) {
    launch_.exe = std::move(exe);
    launch_.args = ToolArguments(std::move(args));
}

void HVToolRun::SetOptions(IHVDownloadOptions const* options) {
    launch_.extensionFolder = RunExtensionFolder(launch_.exe, options);
}

void HVToolRun::SetTotalRate(HVTotalRate* rate) {
    if (rate == nullptr)
        return;
    std::string const folder =
        launch_.extensionFolder.empty() ? std::string() : rate->Share(launch_.extensionFolder);
    if (folder.empty())
        rate->GiveShare(launch_.args);
    else
        launch_.extensionFolder = folder;
}

HVToolResult HVToolRun::Run() {
    auto const collect = [state = state_, limit = limits_.output](std::string State::*text) {
        return [state, limit, text](std::string const& chunk) {
            std::string const taken = state->Take(chunk, limit);
            std::lock_guard const lock(state->mutex);
            (*state).*text += taken;
        };
    };
    launch_.errorHandler = collect(&State::errors);
    if (errorFilter_)
        launch_.errorHandler = [handler = std::move(launch_.errorHandler), filter = std::move(errorFilter_)](
                                   std::string const& chunk) { handler(filter(chunk)); };
    auto const reader = std::make_shared<HVToolReportReader>();
    if (!launch_.extensionFolder.empty())
        launch_.errorHandler = [state = state_, reader, reports = reports_,
                                handler = std::move(launch_.errorHandler)](std::string const& chunk) {
            if (std::string const text = reader->Take(chunk,
                                                      [&](auto const& record) {
                                                          if (!state->TakeError(*record) && reports)
                                                              reports(*record);
                                                      });
                !text.empty())
                handler(text);
        };
    if (launch_.outputHandler)
        launch_.outputHandler = [state = state_, limit = limits_.output,
                                 handler = std::move(launch_.outputHandler)](std::string const& chunk) {
            handler(state->Take(chunk, limit));
        };
    else
        launch_.outputHandler = collect(&State::output);

    HVToolResult result;
    if (HoldsNul(launch_.args)) {
        result.startError =
            IHVError::MallocError("HVToolRun", __LINE__, "Run", -1, "Error",
                                  "Can't start the tool: an address or another argument holds "
                                  "a NUL character.");
        return result;
    }
    bool const stoppedBefore = StopWanted();
    if (auto started = StartToolProcess(launch_, child_); !started->Succeed()) {
        result.startError = std::move(started);
        return result;
    }
    {
        std::lock_guard const lock(state_->mutex);
        state_->child = child_;
    }
    HVToolStop::Attachment const attachment(stop_, [state = state_] { state->End(HVToolResult::By::Stop); });
    HVToolStop::Attachment const interruption(interrupt_, [state = state_] { state->Interrupt(); });
    // A request that came during the start found nothing attached.
    if (!stoppedBefore && StopWanted())
        state_->End(HVToolResult::By::Stop);
    if (interrupt_ != nullptr && interrupt_->Requested())
        state_->Interrupt();
    if (WaitForEnd() == HVErrSuccess)
        result.end = child_->End();
    result.handlerError = child_->DeliveryError();
    std::lock_guard const lock(state_->mutex);
    result.endedBy = result.handlerError != nullptr ? HVToolResult::By::Handler : state_->endedBy;
    result.output = std::exchange(state_->output, {});
    result.errors = std::exchange(state_->errors, {});
    if (result.end.known) // nothing more is delivered
        result.errors += reader->Rest();
    result.fault = FaultOfRun(state_->raised, result.errors);
    if (result.Died() && result.fault.kind == HVErrorKindOther &&
        FaultOfWords(result.errors).kind == HVErrorKindOther)
        result.fault = FaultOfKind(HVErrorKindToolKilled);
    RememberFault(result.errors, result.fault);
    return result;
}

bool HVToolRun::StopWanted() const {
    return stop_ != nullptr && stop_->Requested();
}

/// HVErrTimeout when the child is left to end by itself.
int HVToolRun::WaitForEnd() {
    int wait = HVErrTimeout;
    while (wait == HVErrTimeout) {
        wait = child_->WaitExit(WaitStep());
        if (StopWanted()) {
            state_->End(HVToolResult::By::Stop);
            return leaveAfterStop_ ? wait : child_->WaitExit(HVInfiniteTimeOut);
        }
        if (wait == HVErrTimeout && EndedByLimit())
            return child_->WaitExit(HVInfiniteTimeOut);
    }
    return wait;
}

unsigned int HVToolRun::WaitStep() const {
    unsigned int step = watch_ ? kWatchMilliseconds : kPollMilliseconds;
    if (limits_.time != 0)
        step = std::min(step, limits_.time - std::min(limits_.time, Passed(state_->begin)) + 1);
    if (limits_.silence != 0)
        step = std::min(step, limits_.silence);
    return step;
}

bool HVToolRun::EndedByLimit() {
    Clock::time_point lastOutput;
    std::size_t bytes = 0;
    {
        std::lock_guard const lock(state_->mutex);
        lastOutput = state_->lastOutput;
        bytes = state_->bytes;
    }
    auto const end = [this](HVToolResult::By by, char const* why) {
        IHVLogConfig::Printf(IHVLogConfig::LogLevelWarning, "\"%s\" is ended: %s", launch_.exe.c_str(), why);
        state_->End(by);
        return true;
    };
    if (limits_.time != 0 && Passed(state_->begin) >= limits_.time)
        return end(HVToolResult::By::TimeLimit, "it takes too long.");
    if (limits_.silence != 0 && Passed(lastOutput) >= limits_.silence)
        return end(HVToolResult::By::SilenceLimit, "it has been silent for too long.");
    if (limits_.output != 0 && bytes > limits_.output)
        return end(HVToolResult::By::OutputLimit, "it prints too much.");
    return watch_ && !watch_() && end(HVToolResult::By::Watch, "it does what was not asked for.");
}

void HVToolRun::OnExit(std::function<void()> function) {
    if (child_ != nullptr)
        child_->OnExit(std::move(function));
    else
        function();
}

} // namespace Halvorn

#include "HVQueueWriter.h"

#include "HVConstants.h"
#include "HVProcessEnd.h"
#include "IHVLogConfig.h"

#include <chrono>
#include <exception>
#include <utility>

namespace Halvorn {

HVQueueWriter::HVQueueWriter(std::unique_ptr<HVQueueFile> file, std::unique_ptr<HVFileLock> lock)
    : process_(ProcessNumber()), file_(std::move(file)), fileLock_(std::move(lock)) {}

std::shared_ptr<IHVError const> HVQueueWriter::Start() {
    // The destructor waits for the thread.
    thread_ = IHVThread::MallocThread([this] { Run(); });
    auto result = thread_->Start();
    return result->Succeed() ? nullptr : result;
}

bool HVQueueWriter::Enqueue(HVRowChange change) {
    std::lock_guard const lock(mutex_);
    if (closing_)
        return false;
    bool const done =
        change.whole.has_value() || (change.state.has_value() && change.state->state == HVDownloadStateDone);
    if (keepStates_ && !done)
        return true;
    std::int64_t const number = change.number;
    waiting_[number].Add(std::move(change));
    wanted_ = true;
    changed_.notify_all();
    return true;
}

void HVQueueWriter::KeepStates() {
    std::lock_guard const lock(mutex_);
    keepStates_ = true;
}

void HVQueueWriter::Run() {
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return wanted_ || closing_; });
        if (!waiting_.empty())
            WriteOnce(lock);
        else
            wanted_ = false;
        if (closing_ && (waiting_.empty() || failure_ != nullptr))
            return;
    }
}

bool HVQueueWriter::WriteOnce(std::unique_lock<std::mutex>& lock) {
    auto changes = std::exchange(waiting_, {});
    wanted_ = false;
    writing_ = true;
    lock.unlock();
    std::shared_ptr<IHVError const> failure;
    try {
        failure = file_->Write(changes);
    } catch (std::exception const& error) { // such as a lack of memory: nothing is stored then
        failure = IHVError::MallocError("HVQueueWriter", __LINE__, "WriteOnce", -1, "Error",
                                        "The queue can't be written: %s", error.what());
    }
    if (failure != nullptr)
        IHVLogConfig::Printf(IHVLogConfig::LogLevelError, "%s", failure->GetErrorMessage().c_str());
    lock.lock();
    if (failure != nullptr) {
        for (auto& [number, change] : waiting_)
            changes[number].Add(std::move(change));
        waiting_ = std::move(changes);
    }
    failure_ = std::move(failure);
    writing_ = false;
    ++attempts_;
    changed_.notify_all();
    return failure_ == nullptr;
}

int HVQueueWriter::Flush(unsigned int milliseconds) {
    std::unique_lock lock(mutex_);
    // What is written at this moment may lack the latest changes. Later ones may come for ever.
    std::uint64_t const enough = attempts_ + (writing_ ? 2 : 1);
    // A write that is under way may fail, and then what it held waits again.
    wanted_ = wanted_ || writing_ || !waiting_.empty();
    changed_.notify_all();
    auto const stored = [&] {
        return (waiting_.empty() && !writing_) || (failure_ == nullptr && attempts_ >= enough);
    };
    auto const over = [&] { return stored() || attempts_ >= enough || closing_; };
    if (milliseconds == HVInfiniteTimeOut)
        changed_.wait(lock, over);
    else if (!changed_.wait_for(lock, std::chrono::milliseconds(milliseconds), over))
        return HVErrTimeout;
    return stored() ? HVErrSuccess : HVErrFailure;
}

std::shared_ptr<IHVError const> HVQueueWriter::LastError() const {
    std::lock_guard const lock(mutex_);
    return failure_;
}

bool HVQueueWriter::Close() {
    if (ProcessNumber() != process_) {
        // A forked copy has neither the thread nor a claim to the file, and the lock may be taken for ever.
        static_cast<void>(file_.release());
        static_cast<void>(fileLock_.release());
        return false;
    }
    {
        std::lock_guard const lock(mutex_);
        // One more try for what could not be written before.
        failure_ = nullptr;
        closing_ = true;
        changed_.notify_all();
    }
    if (thread_ != nullptr)
        thread_->WaitEnd(HVInfiniteTimeOut);
    std::lock_guard const lock(mutex_);
    file_.reset();
    fileLock_.reset();
    return waiting_.empty();
}

} // namespace Halvorn

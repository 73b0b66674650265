#pragma once
// The thread that writes a kept queue's changes. Callers only hand changes over; what they hand over while
// the thread writes becomes its next transaction, in which each row has one change. What can't be written is
// kept, and tried again.
//
// Thread-safety: any operation from any thread. Its lock is the last one: under it no other one is taken.

#include "HVFileLock.h"
#include "HVQueueFile.h"
#include "HVRowChange.h"
#include "IHVThread.h"

#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>

namespace Halvorn {

class HVQueueWriter {
public:
    /// Holds the lock until the file is closed.
    HVQueueWriter(std::unique_ptr<HVQueueFile> file, std::unique_ptr<HVFileLock> lock);
    HVQueueWriter(HVQueueWriter const&) = delete;
    HVQueueWriter& operator=(HVQueueWriter const&) = delete;
    ~HVQueueWriter() { Close(); }

    /// Empty, or why the thread can't run.
    std::shared_ptr<IHVError const> Start();
    /// False once the file is closed: nothing is stored then.
    bool Enqueue(HVRowChange change);
    /// From here on only rows that get done are stored, as such.
    void KeepStates();
    /// See IHVKeptQueue::Flush. What is handed over meanwhile is not waited for.
    int Flush(unsigned int milliseconds);
    /// Why the latest changes are not stored; empty where all is well.
    std::shared_ptr<IHVError const> LastError() const;
    /// Tries to write what is left, and closes the file. False where something is not stored.
    bool Close();

private:
    void Run();
    bool WriteOnce(std::unique_lock<std::mutex>& lock);

    int const process_;                 // that the thread belongs to
    std::unique_ptr<HVQueueFile> file_; // of the thread's
    std::unique_ptr<HVFileLock> fileLock_;
    std::shared_ptr<IHVThread> thread_;
    mutable std::mutex mutex_; // guards what follows
    std::condition_variable changed_;
    std::map<std::int64_t, HVRowChange> waiting_; ///< by the row's number
    std::shared_ptr<IHVError const> failure_;
    std::uint64_t attempts_ = 0; ///< transactions so far
    bool writing_ = false;
    bool wanted_ = false; ///< there is something new to write, or a flush asks for another try
    bool keepStates_ = false;
    bool closing_ = false;
};

} // namespace Halvorn

#pragma once
// The log under a lock: its lines wait, since the application's handler must not run while the lock is held.
// It may call what takes that lock.

#include "IHVLogConfig.h"

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace Halvorn {

/// Keeps the lines that this thread logs, and logs them when it goes.
class HVLateLog {
public:
    HVLateLog();
    ~HVLateLog();
    HVLateLog(HVLateLog const&) = delete;
    HVLateLog& operator=(HVLateLog const&) = delete;

    /// Takes the line if this thread keeps its lines.
    static bool Take(IHVLogConfig::LogLevel level, std::string& line);

private:
    HVLateLog* const outer_;
    std::vector<std::pair<IHVLogConfig::LogLevel, std::string>> lines_;
};

/// A lock under which lines may be logged.
class HVLoggingLock {
public:
    explicit HVLoggingLock(std::mutex& mutex) : lock_(mutex) {}

private:
    HVLateLog const log_; // goes after the lock
    std::lock_guard<std::mutex> const lock_;
};

} // namespace Halvorn

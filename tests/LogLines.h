#pragma once
// The library's log lines while an object of this kind lives, but for those of level 0.

#include "IHVLogConfig.h"

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace Halvorn {

class LogLines {
public:
    LogLines() {
        IHVLogConfig::SetHandler([this](IHVLogConfig::LogLevel level, std::string const& line) {
            if (level == IHVLogConfig::LogLevelDebug)
                return;
            std::lock_guard const lock(mutex_);
            lines_.push_back(std::to_string(level) + " " + line);
        });
    }
    LogLines(LogLines const&) = delete;
    LogLines& operator=(LogLines const&) = delete;
    ~LogLines() { IHVLogConfig::SetHandler(nullptr); }

    /// Level, blank, text of each line since the last call.
    std::vector<std::string> Take() {
        std::lock_guard const lock(mutex_);
        return std::exchange(lines_, {});
    }

private:
    std::mutex mutex_;
    std::vector<std::string> lines_;
};

} // namespace Halvorn

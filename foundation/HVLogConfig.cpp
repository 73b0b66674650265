#include "HVCallback.h"
#include "HVDisplayText.h"
#include "HVFormat.h"
#include "HVLateLog.h"
#include "IHVLogConfig.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace Halvorn {

namespace {

constexpr int kOff = 4;

/// Lowest level that goes to standard error.
int Threshold() {
    static int const threshold = [] {
        char const* value = std::getenv("REELHAUL_LOG");
        if (value == nullptr || *value == '\0')
            return static_cast<int>(IHVLogConfig::LogLevelWarning);
        if (value[0] >= '0' && value[0] <= '3' && value[1] == '\0')
            return value[0] - '0';
        return std::strcmp(value, "off") == 0 ? kOff : static_cast<int>(IHVLogConfig::LogLevelWarning);
    }();
    return threshold;
}

using HandlerSlot = HVCallbackSlot<IHVLogConfig::Handler>;

/// Never destroyed: threads may log until the very end of the process.
HandlerSlot& SharedHandler() {
    static auto* const slot = [] {
        auto* const made = new HandlerSlot;
        made->KeepInForks();
        return made;
    }();
    return *slot;
}

void Emit(IHVLogConfig::LogLevel level, std::string line) {
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r'))
        line.pop_back();
    // Also what the tool itself has printed: people show their logs to others.
    line = WithoutPasswords(line);
    if (HVLateLog::Take(level, line))
        return;
    // Not through the dispatcher: a line is to be there before a crash. What the handler throws is dropped,
    // since a line about it would meet the same handler.
    bool const taken = SharedHandler().With([&](auto const& handler) {
        if (HVApplicationCall const call; call.Allowed())
            handler(level, line);
    });
    if (taken || static_cast<int>(level) < Threshold())
        return;
    line.insert(0, "reelhaul: ");
    line += '\n';
    // One write for one line, so that lines of several threads don't mix.
    std::fwrite(line.data(), 1, line.size(), stderr);
}

/// Logging never fails towards the caller.
void EmitQuietly(IHVLogConfig::LogLevel level, std::string line) {
    try {
        Emit(level, std::move(line));
    } catch (...) { // NOLINT(bugprone-empty-catch): see above
    }
}

thread_local HVLateLog* tInnermostLateLog = nullptr;

bool Wanted(IHVLogConfig::LogLevel level) {
    return static_cast<int>(level) >= Threshold() || SharedHandler().Filled();
}

} // namespace

HVLateLog::HVLateLog() : outer_(std::exchange(tInnermostLateLog, this)) {}

HVLateLog::~HVLateLog() {
    tInnermostLateLog = outer_;
    for (auto& [level, line] : lines_)
        EmitQuietly(level, std::move(line));
}

bool HVLateLog::Take(IHVLogConfig::LogLevel level, std::string& line) {
    if (tInnermostLateLog == nullptr)
        return false;
    tInnermostLateLog->lines_.emplace_back(level, std::move(line));
    return true;
}

void IHVLogConfig::SetHandler(Handler handler) {
    SharedHandler().Set(std::move(handler));
}

void IHVLogConfig::LogText(LogLevel level, char const* text) {
    if (text == nullptr || !Wanted(level))
        return;
    try {
        Emit(level, text);
    } catch (...) { // NOLINT(bugprone-empty-catch): logging never fails towards the caller
    }
}

void IHVLogConfig::LogFormat(LogLevel level, char const* format, va_list args) {
    if (!Wanted(level))
        return;
    try {
        Emit(level, FormatText(format, args));
    } catch (...) { // NOLINT(bugprone-empty-catch): logging never fails towards the caller
    }
}

} // namespace Halvorn

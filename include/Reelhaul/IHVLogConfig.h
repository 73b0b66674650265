#pragma once
/// \class Halvorn::IHVLogConfig
/// The library's log.
///
/// Lines of level 2 and 3 go to standard error; the others are silent. The environment variable REELHAUL_LOG
/// moves that border: "0" (all), "1", "2", "3" or "off". An application can take all lines itself. In each
/// line
/// "***" stands for the password of a web address.
///
/// Thread-safety: every operation may be called from any thread. Logging never fails towards the caller.

#include "HVExport.h"

#include <cstdarg>
#include <functional>
#include <string>

namespace Halvorn {

class HV_EXPORT IHVLogConfig {
public:
    /// How grave a line is.
    enum LogLevel {
        LogLevelDebug = 0,   ///< what the tool printed, for debugging
        LogLevelDefault = 1, ///< what the library is doing
        LogLevelWarning = 2, ///< a setting was refused, something was put right
        LogLevelError = 3    ///< a hard fault
    };

    /// Gets each line's level and text, without a line end. Called on the thread that logs; may be called on
    /// several threads at once. What it throws is dropped.
    using Handler = std::function<void(LogLevel level, std::string const& line)>;

    /// Hands all lines, of every level, to `handler` instead of standard error; an empty one undoes that.
    /// When it returns, the former handler is not called any more, and no call of it is under way on another
    /// thread. So hold no lock that the handler takes. Called from a function that the library calls, such as
    /// the handler itself, it does not wait: calls on other threads may then end a little later.
    static void SetHandler(Handler handler);

    ///@{
    /// Logs a line: `text` as it is.
    static void Printf(LogLevel level, char const* text) { LogText(level, text); }
    static void Printf(char const* text) { LogText(LogLevelDefault, text); }
    static void DebugPrintf(char const* text) { LogText(LogLevelDebug, text); }
    ///@}

    // Templates of no type at all: so a text without arguments is never taken for a format.

    ///@{
    /// Logs a line made from `format` and its arguments in the manner of printf. What is no complete
    /// conversion in `format` stands in the line as it is. The level is LogLevelDefault unless it is given,
    /// LogLevelDebug for DebugPrintf.
    template <typename... None>
    HV_PRINTF(2, 3)
    static void Printf(LogLevel level, char const* format, ...) {
        va_list args;
        va_start(args, format);
        LogFormat(level, format, args);
        va_end(args);
    }
    template <typename... None>
    HV_PRINTF(1, 2)
    static void Printf(char const* format, ...) {
        va_list args;
        va_start(args, format);
        LogFormat(LogLevelDefault, format, args);
        va_end(args);
    }
    template <typename... None>
    HV_PRINTF(1, 2)
    static void DebugPrintf(char const* format, ...) {
        va_list args;
        va_start(args, format);
        LogFormat(LogLevelDebug, format, args);
        va_end(args);
    }
    ///@}

private:
    static void LogText(LogLevel level, char const* text);
    HV_PRINTF(2, 0)
    static void LogFormat(LogLevel level, char const* format, va_list args);
};

} // namespace Halvorn

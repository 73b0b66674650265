#pragma once
/// \class Halvorn::IHVLogConfig
/// The library's log.
///
/// Lines of level 2 and 3 go to standard error; the others are silent. The environment variable REELHAUL_LOG
/// moves that border: "0" (all), "1", "2", "3" or "off". An application can take all lines itself.
///
/// Thread-safety: every operation may be called from any thread. Logging never fails towards the caller.

#include "HVExport.h"

#include <functional>
#include <string>
#include <type_traits>

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

    /// Logs a line made from `format` in the manner of printf. Without arguments the text is taken as it is,
    /// and what is no complete conversion stands in the line as it is.
    template <typename... Args>
    static void Printf(LogLevel level, char const* format, Args... args) {
        static_assert((std::is_scalar_v<Args> && ...), "a text goes in as char const*");
        if constexpr (sizeof...(Args) == 0)
            LogText(level, format);
        else
            LogFormat(level, format, args...);
    }
    /// The same on LogLevelDefault.
    template <typename... Args>
    static void Printf(char const* format, Args... args) {
        Printf(LogLevelDefault, format, args...);
    }
    /// The same on LogLevelDebug.
    template <typename... Args>
    static void DebugPrintf(char const* format, Args... args) {
        Printf(LogLevelDebug, format, args...);
    }

private:
    static void LogText(LogLevel level, char const* text);
    static void LogFormat(LogLevel level, char const* format, ...);
};

} // namespace Halvorn

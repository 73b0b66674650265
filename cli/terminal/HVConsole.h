#pragma once
// The command's two ways out: lines of results on standard output, and on standard error faults, notes and,
// on a terminal, lines that change in place. For the main thread alone, but for what says otherwise.

#include <atomic>
#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Halvorn {

class HVConsole {
public:
    /// With `quiet` there are no notes and no live lines.
    explicit HVConsole(bool quiet);
    ~HVConsole();
    HVConsole(HVConsole const&) = delete;
    HVConsole& operator=(HVConsole const&) = delete;

    /// Whether live lines are shown.
    bool Live() const { return live_; }
    /// Columns and rows that live lines may take.
    std::size_t Columns() const;
    std::size_t Rows() const;

    /// A line of results, at once. On a terminal it is made harmless; else it goes out as it is.
    void Out(std::string_view line);
    /// Several lines of our own words.
    void OutText(std::string_view text);
    /// A fault, as the one line "reelhaul: ...".
    void Error(std::string_view text);
    /// Lines of the library's log, each like a fault.
    void Log(std::string_view text);
    /// The same from any thread, for a console without live lines.
    static void LogFromAnyThread(std::string_view text);
    /// A plain line, also with `quiet`.
    void Always(std::string_view text);
    /// A plain line about what goes on.
    void Note(std::string_view text);
    /// Replaces the live lines. Nothing happens where there are none. Call it several times a second: lines
    /// of results that come fast take the live lines off the screen until the next call.
    void ShowLive(std::vector<std::string> lines);
    /// From any thread: takes the live lines for ordinary ones, since others will stand below them.
    void ForgetLive() { drawn_ = 0; }

    /// Whether results can't be written any more.
    bool OutputFailed() const { return outputError_ != 0; }
    /// Whether that is because their reader went away, which is no fault to complain about.
    bool ReaderGone() const;
    std::string OutputFault() const;

private:
    void ErrorLine(std::string const& line);
    void EraseLive();
    void DrawLive();
    void DrawLiveAgain();

    bool quiet_;
    bool live_;
    bool outIsTerminal_;
    int outputError_ = 0;
    std::vector<std::string> liveLines_;
    std::atomic<std::size_t> drawn_ = 0;
    std::chrono::steady_clock::time_point drawnAt_;
};

} // namespace Halvorn

#include "HVConsole.h"

#include "HVTerminal.h"

#include <Reelhaul/HVDisplayText.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

namespace Halvorn {

namespace {

/// A list of a thousand items prints them faster than a terminal can draw.
constexpr std::chrono::milliseconds kRedrawPause{100};

/// Messages are copied into reports; results name an address as it was given.
std::string Message(std::string_view text) {
    return PlainLine(WithoutPasswords(text));
}

std::string FaultLine(std::string_view text) {
    return "reelhaul: " + Message(text);
}

std::string LogLines(std::string_view text) {
    std::string lines = FaultLine(text.substr(0, text.find('\n')));
    for (auto end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
        text.remove_prefix(end + 1);
        lines += "\n" + FaultLine(text.substr(0, text.find('\n')));
    }
    return lines;
}

/// One write for one line, so that a line of another thread does not stand inside it.
void WriteErrorLine(std::string line) {
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
}

} // namespace

HVConsole::HVConsole(bool quiet)
    : quiet_(quiet), live_(!quiet && IsLiveTerminal(HVStream::Error)),
      outIsTerminal_(IsTerminal(HVStream::Output)) {}

HVConsole::~HVConsole() {
    EraseLive();
}

std::size_t HVConsole::Columns() const {
    return std::max<std::size_t>(TerminalSize(HVStream::Error).columns, 2) - 1;
}

std::size_t HVConsole::Rows() const {
    return std::max<std::size_t>(TerminalSize(HVStream::Error).rows, 4) - 2;
}

void HVConsole::Out(std::string_view line) {
    if (outputError_ != 0)
        return;
    std::string text = outIsTerminal_ ? PlainLine(line) : std::string(line);
    text += '\n';
    EraseLive();
    errno = 0;
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0)
        outputError_ = errno != 0 ? errno : EIO;
    DrawLiveAgain();
}

void HVConsole::OutText(std::string_view text) {
    while (!text.empty()) {
        auto const end = text.find('\n');
        Out(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
}

void HVConsole::Error(std::string_view text) {
    ErrorLine(FaultLine(text));
}

void HVConsole::Log(std::string_view text) {
    ErrorLine(LogLines(text));
}

void HVConsole::LogFromAnyThread(std::string_view text) {
    WriteErrorLine(LogLines(text));
}

void HVConsole::Always(std::string_view text) {
    ErrorLine(Message(text));
}

void HVConsole::Note(std::string_view text) {
    if (!quiet_)
        ErrorLine(Message(text));
}

void HVConsole::ShowLive(std::vector<std::string> lines) {
    if (!live_ || (lines == liveLines_ && (drawn_ > 0 || lines.empty())))
        return;
    EraseLive();
    liveLines_ = std::move(lines);
    DrawLive();
}

bool HVConsole::ReaderGone() const {
    return outputError_ == EPIPE;
}

std::string HVConsole::OutputFault() const {
    return std::string("can't write to standard output: ") + std::strerror(outputError_);
}

void HVConsole::ErrorLine(std::string const& line) {
    EraseLive();
    WriteErrorLine(line);
    DrawLiveAgain();
}

void HVConsole::EraseLive() {
    std::size_t const lines = drawn_.exchange(0);
    if (lines == 0)
        return;
    std::string const text = "\r\x1b[" + std::to_string(lines) + "A\x1b[J";
    std::fwrite(text.data(), 1, text.size(), stderr);
}

void HVConsole::DrawLive() {
    if (liveLines_.empty())
        return;
    std::string text;
    for (std::string const& line : liveLines_)
        text += CutToWidth(line, Columns()) + "\n";
    std::fwrite(text.data(), 1, text.size(), stderr);
    drawn_ = liveLines_.size();
    drawnAt_ = std::chrono::steady_clock::now();
}

void HVConsole::DrawLiveAgain() {
    if (std::chrono::steady_clock::now() - drawnAt_ >= kRedrawPause)
        DrawLive();
}

} // namespace Halvorn

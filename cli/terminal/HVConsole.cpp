#include "HVConsole.h"

#include "HVTerminal.h"

#include <Reelhaul/HVDisplayText.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <unistd.h>
#include <utility>

namespace Halvorn {

HVConsole::HVConsole(bool quiet)
    : quiet_(quiet), live_(!quiet && IsLiveTerminal(STDERR_FILENO)),
      outIsTerminal_(IsTerminal(STDOUT_FILENO)) {}

HVConsole::~HVConsole() {
    EraseLive();
}

std::size_t HVConsole::Columns() const {
    return std::max<std::size_t>(TerminalSize(STDERR_FILENO).columns, 20) - 1;
}

std::size_t HVConsole::Rows() const {
    return std::max<std::size_t>(TerminalSize(STDERR_FILENO).rows, 4) - 2;
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
    DrawLive();
}

void HVConsole::OutText(std::string_view text) {
    while (!text.empty()) {
        auto const end = text.find('\n');
        Out(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
}

void HVConsole::Error(std::string_view text) {
    ErrorLine("reelhaul: " + PlainLine(text));
}

void HVConsole::Always(std::string_view text) {
    ErrorLine(PlainLine(text));
}

void HVConsole::Note(std::string_view text) {
    if (!quiet_)
        ErrorLine(PlainLine(text));
}

void HVConsole::ShowLive(std::vector<std::string> lines) {
    if (!live_ || lines == liveLines_)
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
    // One write for one line, so that a log line of another thread does not stand inside it.
    std::string const text = line + "\n";
    std::fwrite(text.data(), 1, text.size(), stderr);
    DrawLive();
}

void HVConsole::EraseLive() {
    if (drawn_ == 0)
        return;
    std::string const text = "\r\x1b[" + std::to_string(drawn_) + "A\x1b[J";
    std::fwrite(text.data(), 1, text.size(), stderr);
    drawn_ = 0;
}

void HVConsole::DrawLive() {
    if (liveLines_.empty())
        return;
    std::string text;
    for (std::string const& line : liveLines_)
        text += CutToWidth(line, Columns()) + "\n";
    std::fwrite(text.data(), 1, text.size(), stderr);
    drawn_ = liveLines_.size();
}

} // namespace Halvorn

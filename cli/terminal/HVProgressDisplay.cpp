#include "HVProgressDisplay.h"

#include "HVItemText.h"

#include <Reelhaul/HVDisplayText.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <utility>
#include <vector>

namespace Halvorn {

namespace {

// Columns of a live line.
constexpr std::size_t kMostCells = 20;
constexpr std::size_t kFewestCells = 4;
constexpr std::size_t kShortestName = 12;
constexpr std::size_t kPercentRoom = 6;
constexpr std::size_t kTextRoom = 29; ///< speed and remaining time
constexpr std::size_t kGap = 2;
constexpr float kAll = 100;

std::string Percent(float percent) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "%5.1f%%", static_cast<double>(percent));
    return text.data();
}

std::string Bar(float percent, std::size_t cells) {
    auto const full = static_cast<std::size_t>(percent / kAll * static_cast<float>(cells));
    return "[" + std::string(full, '#') + std::string(cells - full, '-') + "] ";
}

std::string Clock(double seconds) {
    constexpr long kMinute = 60;
    auto const whole = std::lround(seconds);
    std::string const rest = std::to_string(whole % kMinute);
    return std::to_string(whole / kMinute) + (rest.size() < 2 ? ":0" : ":") + rest;
}

/// Rate and time first: on a narrow terminal the rest goes.
std::string Amounts(std::uint64_t bytes, std::uint64_t total, double rate, double seconds) {
    std::string text;
    if (rate > 0)
        text = SizeText(static_cast<std::uint64_t>(rate)) + "/s ";
    if (seconds >= 0)
        text += Clock(seconds) + " ";
    return text + (bytes > 0 ? SizeText(bytes) : "0 B") + (total > 0 ? " of " + SizeText(total) : "");
}

std::string Words(HVDownloadProgress const& record) {
    std::string phase = record.phase == HVDownloadPhaseNone ? "" : DownloadPhaseName(record.phase);
    if (record.phase == HVDownloadPhaseRetryWaiting)
        return "trying again in " + Clock(record.secondsLeft);
    if (record.phase < HVDownloadPhaseMedia || record.phase > HVDownloadPhaseAudio)
        return phase;
    return Amounts(record.partBytes, record.partTotal, record.bytesPerSecond, record.secondsLeft) +
           (record.phase == HVDownloadPhaseMedia ? "" : " " + phase);
}

} // namespace

HVProgressDisplay::HVProgressDisplay(HVConsole& console) : console_(console) {}

void HVProgressDisplay::SetActivity(std::string const& text) {
    activity_ = PlainLine(WithoutPasswords(text));
    if (!console_.Live() && !activity_.empty())
        console_.Note(activity_);
}

void HVProgressDisplay::Begin(int id, std::string const& name, bool recording) {
    Download& download = downloads_[id];
    download.name = PlainLine(name);
    download.recording = recording;
    if (recording)
        console_.Note("Recording " + download.name + "; Ctrl-C finishes it");
    else if (!console_.Live())
        console_.Note("Downloading " + download.name);
}

void HVProgressDisplay::Update(int id, float percent, std::string const& text,
                               HVDownloadProgress const& record) {
    auto const found = downloads_.find(id);
    if (found == downloads_.end())
        return;
    Download& download = found->second;
    download.percent = std::clamp(percent, 0.0F, kAll);
    bool const waits = record.phase == HVDownloadPhaseRetryWaiting && record.phase != download.record.phase;
    if (waits && !console_.Live())
        console_.Note(download.name + ": " + Words(record));
    download.record = record;
    download.updated = std::chrono::steady_clock::now();
    download.text = PlainLine(text);
    download.text.erase(download.text.find_last_not_of(' ') + 1);
    int const tenths = static_cast<int>(download.percent / 10);
    if (console_.Live() || tenths <= download.told)
        return;
    download.told = tenths;
    console_.Note(download.name + ": " + Percent(download.percent) + "  " + download.text);
}

void HVProgressDisplay::UpdateRecording(int id, int seconds, std::string const& text) {
    auto const found = downloads_.find(id);
    if (found == downloads_.end())
        return;
    Download& download = found->second;
    download.text = text;
    constexpr int kMinute = 60;
    if (console_.Live() || seconds / kMinute <= download.told)
        return;
    download.told = seconds / kMinute;
    console_.Note(download.name + ": " + text);
}

void HVProgressDisplay::Rename(int id, std::string const& name) {
    if (auto const found = downloads_.find(id); found != downloads_.end())
        found->second.name = PlainLine(name);
}

void HVProgressDisplay::End(int id) {
    downloads_.erase(id);
}

void HVProgressDisplay::Refresh() {
    if (!console_.Live())
        return;
    std::vector<std::string> lines;
    std::size_t const room = console_.Rows() - 2;
    std::size_t hidden = downloads_.size() - std::min(downloads_.size(), room);
    for (auto const& [id, download] : downloads_)
        if (lines.size() < room)
            lines.push_back(Line(download));
    if (downloads_.size() > 1 || waiting_ > 0)
        lines.push_back((hidden > 0 ? std::to_string(hidden) + " more running, " : std::string()) +
                        std::to_string(waiting_) + " waiting; all: " +
                        Amounts(total_.bytes, total_.total, total_.bytesPerSecond, total_.secondsLeft));
    if (!activity_.empty())
        lines.push_back(activity_);
    console_.ShowLive(std::move(lines));
}

std::string HVProgressDisplay::Line(Download const& download) const {
    std::size_t const columns = console_.Columns();
    if (download.recording) {
        std::size_t const used = DisplayWidth(download.text) + kGap;
        std::size_t const name = columns > used + kShortestName ? columns - used : kShortestName;
        return CutToWidth(FitToWidth(download.name, name) + "  " + download.text, columns);
    }
    HVDownloadProgress record = download.record;
    if (record.phase == HVDownloadPhaseRetryWaiting) { // told once, at its begin
        std::chrono::duration<double> const gone = std::chrono::steady_clock::now() - download.updated;
        record.secondsLeft = std::max(0.0, record.secondsLeft - gone.count());
    }
    std::string const text = Words(record);
    float const percent = static_cast<float>(download.record.fraction) * kAll;
    // As a terminal gets narrower, first the bar shrinks and goes, then the text, and the name; never the
    // percentage.
    std::string bar;
    if (constexpr std::size_t kRest = kShortestName + kGap + 3 + kPercentRoom + kGap + kTextRoom;
        columns >= kRest + kFewestCells)
        bar = Bar(percent, std::min(columns - kRest, kMostCells));
    std::size_t name = kShortestName;
    if (std::size_t const rest = kGap + bar.size() + kPercentRoom + kGap + kTextRoom; columns > rest + name)
        name = columns - rest;
    else if (columns < kShortestName + kGap + kPercentRoom)
        name = columns > kGap + kPercentRoom ? columns - kGap - kPercentRoom : 0;
    std::string line = FitToWidth(download.name, name) + "  " + bar + Percent(percent);
    constexpr std::size_t kShortestText = 4;
    if (std::size_t const used = DisplayWidth(line) + kGap; !text.empty() && columns >= used + kShortestText)
        line += "  " + CutToWidth(text, columns - used);
    return line;
}

} // namespace Halvorn

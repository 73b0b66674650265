// The tool's progress lines.

#include "HVDownloadTaskDownload.h"

#include "HVNumberText.h"
#include "IHVStringHelper.h"

#include <algorithm>

namespace Halvorn {

namespace {
constexpr char kMarker[] = "[download]";
constexpr double kSmallestStep = 0.01;
} // namespace

void HVDownloadTaskDownload::Track(std::function<bool(HVProgressTracker&)> const& change) {
    HVDownloadProgress record;
    {
        std::lock_guard const lock(trackerMutex_);
        if (!change(tracker_))
            return;
        record = tracker_.Now();
    }
    if (recorder_)
        recorder_(record);
}

void HVDownloadTaskDownload::TrackPhase(HVDownloadPhase phase) {
    Track([phase](HVProgressTracker& tracker) {
        tracker.Enter(phase);
        return true;
    });
}

void HVDownloadTaskDownload::ParseDownloadOutputInfo(std::string const& text) {
    for (auto const& line : IHVStringHelper::Split(text, '\n')) {
        auto const marker = line.find(kMarker);
        if (marker == std::string::npos)
            continue;
        std::string rest = line.substr(marker + sizeof kMarker - 1);
        // Of several updates on one line the first counts.
        if (auto const next = rest.find(kMarker); next != std::string::npos)
            rest.resize(next);
        if (!IsDownloadSpeedInfo(rest))
            continue;
        std::string status;
        // Odd counts of fragments lead beyond the end, which is told once, or to what is no number.
        float const percent = std::min(ParsePercentageInfo(rest, status), 100.0F);
        if (!(static_cast<double>(percent) >= static_cast<double>(progress_) + kSmallestStep))
            continue;
        progress_ = percent;
        notifyTaskProgress(status, progress_);
    }
}

bool HVDownloadTaskDownload::IsDownloadSpeedInfo(std::string const& line) {
    auto const of = line.find("of");
    if (of == std::string::npos)
        return false;
    // A line without "at" tells an end ("100% of 1.00MiB in 00:00:01"): no progress either.
    auto const at = line.find("at");
    if (at == std::string::npos || at < of)
        return false;
    auto const eta = line.find("ETA");
    return eta != std::string::npos && eta >= at;
}

float HVDownloadTaskDownload::ParsePercentageInfo(std::string const& line, std::string& status) {
    auto const tokens = IHVStringHelper::Split(line, ' ');
    bool const hasEta = std::any_of(tokens.begin(), tokens.end(), [](std::string const& token) {
        return IHVStringHelper::Trimmed(token) == "ETA";
    });
    int fragCount = 1;
    int fragIndex = 1;
    ParseFragInfo(fragCount, fragIndex, line);
    auto const count = static_cast<float>(fragCount);
    float result = 0.0F;
    for (auto token = tokens.begin(); token != tokens.end(); ++token) {
        if (IsPercentageString(*token)) {
            float const percent = std::clamp(TextToFloat(*token), 0.0F, 100.0F);
            result = percent / count + (static_cast<float>(fragIndex) - 1.0F) * 100.0F / count;
        } else if (hasEta ? IsBitratString(*token) : IsDurationString(*token)) {
            status = IHVStringHelper::Join({token, tokens.end()}, ' ');
            break;
        }
    }
    return result;
}

void HVDownloadTaskDownload::ParseFragInfo(int& fragCount, int& fragIndex, std::string const& line) {
    constexpr char kFragment[] = "(frag ";
    auto const marker = line.find(kFragment);
    if (marker == std::string::npos)
        return;
    std::string tail = line.substr(marker + sizeof kFragment - 1);
    if (auto const end = tail.rfind(')'); end != std::string::npos)
        tail.resize(end);
    auto const parts = IHVStringHelper::Split(tail, '/');
    if (parts.size() == 2) {
        if (IHVStringHelper::IsNumberString(parts[0]))
            fragIndex = std::stoi(parts[0]);
        if (IHVStringHelper::IsNumberString(parts[1]))
            fragCount = std::stoi(parts[1]);
    }
    fragCount = std::max(fragCount, 1);
    fragIndex = std::max(fragIndex, 1);
}

} // namespace Halvorn

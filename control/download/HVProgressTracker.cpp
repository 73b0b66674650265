#include "HVProgressTracker.h"

#include "HVDownloadTaskDownload.h"
#include "HVNumberText.h"
#include "IHVJsonValue.h"
#include "IHVStringHelper.h"

#include <algorithm>
#include <cmath>
#include <exception>

namespace Halvorn {

namespace {

// Shares of the whole: the question, then the bytes, then ffmpeg, then the move.
constexpr double kAsked = 0.01;
constexpr double kFetched = 0.97;
constexpr double kFetchedBeforeMerge = 0.92;
constexpr double kConverted = 0.985;
constexpr double kMoving = 0.99;
/// What is left to a conversion, which may well take longer than all before it.
constexpr double kBeforeConversion = 0.75;
/// How many steps a conversion has is not known: each takes so much of the rest.
constexpr double kShareOfStep = 0.6;
/// Of a part whose size is not known half counts as done after so many bytes.
constexpr double kHalfOfUnknown = 16.0 * 1024 * 1024;
/// What an estimate may come to at most.
constexpr double kMostOfEstimate = 0.99;

HVDownloadPhase PhaseOf(std::string const& kind) {
    return kind == "video"       ? HVDownloadPhaseVideo
           : kind == "audio"     ? HVDownloadPhaseAudio
           : kind == "subtitle"  ? HVDownloadPhaseSubtitle
           : kind == "thumbnail" ? HVDownloadPhaseThumbnail
                                 : HVDownloadPhaseMedia;
}

double Share(std::uint64_t bytes, std::uint64_t total) {
    return std::min(1.0, static_cast<double>(bytes) / static_cast<double>(total));
}

/// "8.00MiB" of the tool's lines; 0 for what is none.
std::uint64_t Bytes(std::string const& text) {
    constexpr std::string_view kUnits = "KMGT";
    std::string const size = IHVStringHelper::Trimmed(text);
    if (size.empty() || size.find_first_of("0123456789") != 0)
        return 0;
    double bytes = static_cast<double>(TextToFloat(size));
    auto const unit = size.find_first_not_of("0123456789.");
    if (auto const power = unit == std::string::npos ? std::string_view::npos : kUnits.find(size[unit]);
        power != std::string_view::npos)
        bytes *= std::pow(1024.0, static_cast<double>(power) + 1);
    return static_cast<std::uint64_t>(bytes);
}

} // namespace

void HVProgressTracker::Begin(int parts, bool converts) {
    double const reached = now_.fraction; // of a format that was given up
    now_ = {};
    now_.fraction = reached;
    converts_ = converts;
    step_.clear();
    parts_.assign(static_cast<std::size_t>(std::max(parts, 1)), {});
    if (parts > 1) {
        parts_[0].phase = HVDownloadPhaseVideo;
        parts_[1].phase = HVDownloadPhaseAudio;
    }
    reported_ = false;
    passes_ = 0;
    Enter(HVDownloadPhaseAsking);
}

void HVProgressTracker::Enter(HVDownloadPhase phase) {
    now_.phase = phase;
    now_.bytesPerSecond = 0;
    now_.secondsLeft = -1;
    if (phase == HVDownloadPhaseMoving)
        Rise(kMoving);
    else if (phase == HVDownloadPhaseDone)
        now_.fraction = 1;
}

void HVProgressTracker::WaitToRetry(double seconds) {
    Enter(HVDownloadPhaseRetryWaiting);
    now_.secondsLeft = seconds;
    passes_ = 0;
    for (Part& part : parts_)
        part.fraction = 0;
}

/// The one place where the fraction of a run that goes on changes.
void HVProgressTracker::Rise(double fraction) {
    now_.fraction = std::max(now_.fraction, std::min(fraction, kMoving));
}

bool HVProgressTracker::TakeRecord(IHVJsonValue const& record) {
    std::string const kind = record.GetValueString("record");
    if (kind == "plan")
        TakePlan(record);
    else if (kind == "bytes")
        TakeBytes(record);
    else if (kind == "step")
        TakeStep(record);
    else
        return false;
    reported_ = true;
    return true;
}

void HVProgressTracker::TakePlan(IHVJsonValue const& record) {
    now_.live = record.GetValueBool("live");
    int const count = record.GetArrayCount("parts");
    for (int i = 0; i < count; ++i)
        if (auto const planned = record.GetArrayItem("parts", i)) {
            Part& part = At(i);
            part.phase = PhaseOf(planned->GetValueString("kind"));
            part.total = planned->GetValueUInt64("total");
        }
    now_.parts = count;
    Sum();
}

HVProgressTracker::Part& HVProgressTracker::At(int part) {
    auto const index = static_cast<std::size_t>(std::clamp(part, 0, 99));
    if (index >= parts_.size())
        parts_.resize(index + 1);
    return parts_[index];
}

void HVProgressTracker::TakeBytes(IHVJsonValue const& record) {
    int const index = record.GetValueInt("part");
    now_.bytesPerSecond = static_cast<double>(record.GetValueFloat("speed"));
    // Beside the parts, and without a size.
    if (std::string const kind = record.GetValueString("kind"); kind == "subtitle" || kind == "thumbnail") {
        now_.phase = PhaseOf(kind);
        now_.secondsLeft = -1;
        return;
    }
    Part& part = At(index);
    part.bytes = record.GetValueUInt64("bytes");
    if (std::uint64_t const total = record.GetValueUInt64("total"); total != 0) {
        part.total = total;
        part.estimated = record.GetValueBool("estimated");
    }
    part.over = record.GetValueBool("over");
    now_.phase = part.phase;
    now_.part = index + 1;
    now_.parts = static_cast<int>(parts_.size());
    now_.fragments = record.GetValueInt("fragments");
    now_.fragmentCount = record.GetValueInt("fragment_count");
    now_.recordedSeconds = static_cast<double>(record.GetValueFloat("recorded"));
    if (now_.fragmentCount > 0)
        part.fraction = std::min(kMostOfEstimate, Share(static_cast<std::uint64_t>(now_.fragments),
                                                        static_cast<std::uint64_t>(now_.fragmentCount)));
    else if (part.total > 0 && !now_.live)
        part.fraction = std::min(part.estimated ? kMostOfEstimate : 1, Share(part.bytes, part.total));
    else
        part.fraction = static_cast<double>(part.bytes) / (static_cast<double>(part.bytes) + kHalfOfUnknown);
    if (part.over) {
        part.fraction = 1;
        part.total = part.bytes;
        part.estimated = false;
    }
    Sum();
}

/// ffmpeg joins or converts.
void HVProgressTracker::TakeStep(IHVJsonValue const& record) {
    std::string const name = record.GetValueString("name");
    bool const merging = name == "Merger";
    now_.phase = merging ? HVDownloadPhaseMerging : HVDownloadPhaseConverting;
    now_.bytesPerSecond = 0;
    now_.secondsLeft = -1;
    if (name != step_) {
        step_ = name;
        stepBegin_ = now_.fraction;
    }
    double begin = merging ? EndOfBytes() : EndOfMerge();
    double end = merging ? EndOfMerge() : kConverted;
    if (converts_ && !merging) {
        begin = stepBegin_;
        end = begin + kShareOfStep * (kConverted - begin);
    }
    Rise(begin + (end - begin) * std::clamp(static_cast<double>(record.GetValueFloat("fraction")), 0.0, 1.0));
}

double HVProgressTracker::EndOfBytes() const {
    double const end = parts_.size() > 1 ? kFetchedBeforeMerge : kFetched;
    return converts_ ? end * kBeforeConversion : end;
}

double HVProgressTracker::EndOfMerge() const {
    return converts_ ? kFetched * kBeforeConversion : kFetched;
}

/// How much of all parts has come, 0 to 1: by their sizes where all are known.
double HVProgressTracker::Fetched() const {
    bool const sized =
        std::all_of(parts_.begin(), parts_.end(), [](Part const& one) { return one.total > 0; });
    double done = 0;
    double all = 0;
    for (Part const& part : parts_) {
        double const weight = sized ? static_cast<double>(part.total) : 1;
        done += weight * part.fraction;
        all += weight;
    }
    return all > 0 ? done / all : 0;
}

void HVProgressTracker::Sum() {
    now_.bytes = 0;
    now_.total = 0;
    now_.estimated = false;
    bool known = !now_.live;
    for (Part const& part : parts_) {
        now_.bytes += part.bytes;
        now_.total += std::max(part.total, part.bytes);
        now_.estimated = now_.estimated || part.estimated;
        known = known && part.total > 0;
    }
    if (!known)
        now_.total = 0;
    Part const& part = At(std::max(now_.part, 1) - 1);
    now_.partBytes = part.bytes;
    now_.partTotal = now_.live ? 0 : part.total == 0 ? 0 : std::max(part.total, part.bytes);
    now_.secondsLeft = now_.total > 0 && now_.bytesPerSecond > 0
                           ? static_cast<double>(now_.total - now_.bytes) / now_.bytesPerSecond
                           : -1;
    Rise(kAsked + (EndOfBytes() - kAsked) * Fetched());
}

bool HVProgressTracker::TakeLines(std::string const& text) {
    bool changed = false;
    if (!reported_)
        for (auto const& line : IHVStringHelper::Split(text, '\n'))
            try {
                changed = TakeLine(line) || changed;
            } catch (std::exception const&) {
                continue; // a number that is none
            }
    return changed;
}

bool HVProgressTracker::TakeLine(std::string const& line) {
    constexpr std::string_view kMark = "[download]";
    if (line.find("[Merger]") != std::string::npos) {
        Enter(HVDownloadPhaseMerging);
        Rise(EndOfBytes());
        return true;
    }
    auto const mark = line.find(kMark);
    if (mark == std::string::npos)
        return false;
    std::string rest = line.substr(mark + kMark.size());
    rest.resize(std::min(rest.find(kMark), rest.size()));
    if (rest.find(" Destination: ") == 0) {
        if (passes_ > 0)
            At(passes_ - 1).fraction = 1;
        ++passes_;
        return false;
    }
    if (!HVDownloadTaskDownload::IsDownloadSpeedInfo(rest))
        return false;
    std::string status;
    double const percent = static_cast<double>(HVDownloadTaskDownload::ParsePercentageInfo(rest, status));
    if (!std::isfinite(percent))
        return false;
    now_.part = std::max(passes_, 1);
    Part& part = At(now_.part - 1);
    now_.phase = part.phase;
    auto const of = rest.find(" of ");
    part.total = of == std::string::npos ? 0 : Bytes(rest.substr(rest.find_first_not_of("~ ", of + 4)));
    part.fraction = std::min(kMostOfEstimate, percent / 100);
    part.bytes = static_cast<std::uint64_t>(static_cast<double>(part.total) * part.fraction);
    auto const at = rest.find(" at ");
    now_.bytesPerSecond = at == std::string::npos ? 0 : static_cast<double>(Bytes(rest.substr(at + 4)));
    Sum();
    return true;
}

} // namespace Halvorn

#pragma once
// Makes one record of what a run's extension reports, or, where none does, of the tool's lines.
//
// Not thread-safe: the task guards it.

#include "HVDownloadProgress.h"

#include <string>
#include <vector>

namespace Halvorn {

class IHVJsonValue;

class HVProgressTracker {
public:
    /// The tool is about to start. `parts` is how many files it will join, 1 for none; `converts` when
    /// ffmpeg has more to do after that. The fraction does not fall.
    void Begin(int parts, bool converts = false);
    /// Takes one record of the extension. False when it changes nothing.
    bool TakeRecord(IHVJsonValue const& record);
    /// Takes a chunk of the tool's lines; nothing once a record has come. False when it changes nothing.
    bool TakeLines(std::string const& text);
    /// So many seconds pass before the next try, which reports anew what it has.
    void WaitToRetry(double seconds);
    /// A phase of the library's own.
    void Enter(HVDownloadPhase phase);
    /// The record as it is now.
    HVDownloadProgress const& Now() const { return now_; }

private:
    struct Part {
        HVDownloadPhase phase = HVDownloadPhaseMedia;
        std::uint64_t bytes = 0;
        std::uint64_t total = 0;
        bool estimated = true;
        bool over = false;
        double fraction = 0; ///< of the part
    };

    void TakePlan(IHVJsonValue const& record);
    void TakeBytes(IHVJsonValue const& record);
    void TakeStep(IHVJsonValue const& record);
    bool TakeLine(std::string const& line);
    Part& At(int part);
    void Sum();
    void Rise(double fraction);
    double Fetched() const;
    /// What the fraction comes to when all bytes are there, and when they are joined.
    double EndOfBytes() const;
    double EndOfMerge() const;

    HVDownloadProgress now_;
    std::vector<Part> parts_;
    bool reported_ = false; ///< the extension is there
    int passes_ = 0;        ///< files that the lines have told of
    bool converts_ = false;
    std::string step_;     ///< what ffmpeg does
    double stepBegin_ = 0; ///< the fraction when it began
};

} // namespace Halvorn

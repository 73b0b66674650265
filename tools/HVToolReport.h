#pragma once
// What our extension (tools/extension/reelhaul_report.py) tells of a run, among the tool's words on standard
// error.
//
// Thread-safety: a reader belongs to one stream and is used by one thread at a time; the rest is pure.

#include "HVExplainedError.h"

#include <functional>
#include <memory>
#include <string>

namespace Halvorn {

class IHVJsonValue;

/// The text that begins a record, of this process alone: no site can write it.
std::string const& ToolReportMark();
/// The extension with the mark in it.
std::string ToolReportText();

/// Takes the records out of a stream, wherever the chunks are cut.
class HVToolReportReader {
public:
    using Taker = std::function<void(std::shared_ptr<IHVJsonValue const> const& record)>;

    /// The text of the chunk without records, as far as it is certain that it holds none.
    std::string Take(std::string const& chunk, Taker const& taker);
    /// What is left at the end of the stream.
    std::string Rest();

private:
    std::string pending_;
};

/// What the tool raised for a failure.
struct HVRaised {
    HVFault fault;
    bool wordsMayTellMore = true;
};

/// Of a record of the kind "error"; the kind "other" where its classes tell none.
HVRaised FaultOfReport(IHVJsonValue const& record);
/// What a run has failed by: what it raised, unless its words are more precise.
HVFault FaultOfRun(HVRaised const& raised, std::string const& errors);
/// The reason in plain words where the tool had no time to tell one; else empty.
std::string ReasonOf(HVFault const& fault);

/// The words of a run go their own way into an error object. Remembers the fault beside them, for this thread
/// and until its next run.
void RememberFault(std::string const& errors, HVFault const& fault);
/// The fault of this thread's latest run if it printed just these words; other else.
HVFault RememberedFault(std::string const& errors);

} // namespace Halvorn

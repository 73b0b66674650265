#include "HVToolReport.h"

#include "HVExtension.h"
#include "HVFaultText.h"
#include "IHVFileProvider.h"
#include "IHVJsonValue.h"

#include <string_view>
#include <utility>

namespace Halvorn {

namespace {

constexpr char kBegin = '\x1e';
constexpr int kMarkLength = 16;
/// A record is shorter; what is longer is text that happens to begin like one.
constexpr std::size_t kMostBytes = 4096;

struct Sign {
    char const* field;
    std::string_view name;
    HVErrorKind kind;
    bool neverPasses = false;
};

/// The first row counts: causes tell more than what was made of them. All seen with 2026.10.26.
constexpr Sign kSigns[] = {
    {"raisers", "raise_login_required", HVErrorKindLoginNeeded},
    {"raisers", "report_drm", HVErrorKindDRM},
    {"classes", "GeoRestrictedError", HVErrorKindRegionRestricted},
    {"classes", "UserNotLive", HVErrorKindLiveNotBegun},
    {"classes", "UnsupportedError", HVErrorKindUnsupportedAddress},
    {"classes", "CookieLoadError", HVErrorKindCookiesUnreadable},
    {"system", "ENOSPC", HVErrorKindDiskFull},
    {"system", "EDQUOT", HVErrorKindDiskFull},
    {"system", "EACCES", HVErrorKindNoPermission},
    {"system", "EPERM", HVErrorKindNoPermission},
    {"system", "EROFS", HVErrorKindNoPermission},
    {"system", "ENAMETOOLONG", HVErrorKindNameImpossible},
    {"system", "EILSEQ", HVErrorKindNameImpossible},
    {"classes", "CertificateVerifyError", HVErrorKindNetwork, true},
    {"classes", "TimeoutError", HVErrorKindTimedOut},
    {"classes", "TransportError", HVErrorKindNetwork},
    {"classes", "ContentTooShortError", HVErrorKindNetwork},
    {"classes", "PostProcessingError", HVErrorKindConversionFailed},
};

bool Holds(IHVJsonValue const& record, Sign const& sign) {
    // The texts stand between blanks.
    std::string const text = " " + record.GetValueString(sign.field) + " ";
    return text.find(" " + std::string(sign.name) + " ") != std::string::npos;
}

/// What the tool's makers did not think of: no exception of theirs at all.
bool IsForeign(IHVJsonValue const& record) {
    return record.GetValueBool("uncaught") || !Holds(record, {"classes", "YoutubeDLError", {}});
}

/// A site that is not as the tool's makers knew it.
bool IsUnexpected(IHVJsonValue const& record) {
    return !record.GetValueBool("expected") && Holds(record, {"classes", "ExtractorError", {}});
}

/// The words themselves would need a destructor, which on the main thread runs before the application has
/// ended.
struct Remembered {
    std::size_t hashOfErrors = 0;
    HVFault fault;
};

Remembered& OfThisThread() {
    static thread_local Remembered remembered;
    return remembered;
}

} // namespace

std::string const& ToolReportMark() {
    static auto const* const mark =
        new std::string(kBegin + IHVFileProvider::CreateRandomFileName({}, kMarkLength));
    return *mark;
}

std::string ToolReportText() {
    constexpr std::string_view kPlace = "@MARK@";
    std::string text = HVToolReportText;
    return text.replace(text.find(kPlace), kPlace.size(), ToolReportMark(), 1);
}

std::string HVToolReportReader::Take(std::string const& chunk, Taker const& taker) {
    std::string const& mark = ToolReportMark();
    std::string text;
    pending_ += chunk;
    while (!pending_.empty()) {
        auto const begin = pending_.find(kBegin);
        text.append(pending_, 0, begin);
        pending_.erase(0, begin);
        if (pending_.empty())
            break;
        auto const end = pending_.find('\n');
        bool const complete = end != std::string::npos;
        bool const isRecord = pending_.compare(0, mark.size(), mark) == 0;
        if (!complete && (isRecord ? pending_.size() < kMostBytes : mark.starts_with(pending_)))
            break;
        if (isRecord && complete) {
            auto const body = pending_.substr(mark.size(), end - mark.size());
            if (auto const record = IHVJsonReader::ReadJsonString(body, nullptr))
                taker(record);
            pending_.erase(0, end + 1);
        } else {
            text += kBegin;
            pending_.erase(0, 1);
        }
    }
    return text;
}

std::string HVToolReportReader::Rest() {
    return std::exchange(pending_, {});
}

HVRaised FaultOfReport(IHVJsonValue const& record) {
    for (Sign const& sign : kSigns)
        if (Holds(record, sign)) {
            HVFault fault = FaultOfKind(sign.kind);
            fault.mayPass = fault.mayPass && !sign.neverPasses;
            return {fault, sign.kind == HVErrorKindConversionFailed}; // of ffmpeg, also when there is none
        }
    HVFault fault = FaultOfStatus(record.GetValueInt("status"));
    fault.delay = record.GetValueInt("wait");
    if (fault.kind != HVErrorKindOther)
        return {fault, fault.kind == HVErrorKindForbidden};
    if (IsForeign(record))
        return {FaultOfKind(HVErrorKindToolBroken), false};
    return {IsUnexpected(record) ? FaultOfKind(HVErrorKindToolBroken) : HVFault{}};
}

HVFault FaultOfRun(HVRaised const& raised, std::string const& errors) {
    if (!raised.wordsMayTellMore || raised.fault.kind == HVErrorKindOther)
        return raised.fault;
    HVFault const told = FaultOfWords(errors);
    return told.kind == HVErrorKindOther ? raised.fault : told;
}

std::string ReasonOf(HVFault const& fault) {
    return fault.kind == HVErrorKindToolKilled ? "The tool was killed, or crashed, before it was done." : "";
}

void RememberFault(std::string const& errors, HVFault const& fault) {
    OfThisThread() = {std::hash<std::string>()(errors), fault};
}

HVFault RememberedFault(std::string const& errors) {
    Remembered const& remembered = OfThisThread();
    return remembered.hashOfErrors == std::hash<std::string>()(errors) ? remembered.fault : HVFault{};
}

} // namespace Halvorn

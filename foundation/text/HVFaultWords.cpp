// The kind of a failure by its words: the only place where the tool's words are read for it.

#include "HVExplainedError.h"
#include "HVFaultText.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <string>

namespace Halvorn {

namespace {

struct Words {
    std::string_view words; ///< in small letters
    std::string_view seen;  ///< the version of the tool, or the other program, that says so
    HVErrorKind kind;
    bool neverPasses = false;
};

constexpr std::string_view kTool = "2026.10.26";
constexpr std::string_view kPython = "Python 3.11";
constexpr std::string_view kSystem = "the system's own words";
constexpr std::string_view kOwn = "the library";
constexpr std::string_view kCurl = "libcurl 7.88";

/// The first row whose words stand in a line that tells the fault counts: what is certain comes first.
constexpr Words kFaultWords[] = {
    {"no such option", kTool, HVErrorKindToolTooOld},
    {"unsupported url", kTool, HVErrorKindUnsupportedAddress},
    {"is not a valid url", kTool, HVErrorKindUnsupportedAddress},
    {"no suitable extractor", kTool, HVErrorKindUnsupportedAddress},
    // The disk and the files
    {"no space left on device", kSystem, HVErrorKindDiskFull},
    {"disk quota exceeded", kSystem, HVErrorKindDiskFull},
    {"no space is left there", kOwn, HVErrorKindDiskFull},
    {"share of the disk is used up", kOwn, HVErrorKindDiskFull},
    {"permission denied", kSystem, HVErrorKindNoPermission},
    {"there is no permission", kOwn, HVErrorKindNoPermission},
    {"the disk can only be read", kOwn, HVErrorKindNoPermission},
    {"read-only file system", kSystem, HVErrorKindNoPermission},
    {"file name too long", kSystem, HVErrorKindNameImpossible},
    {"the name is too long", kOwn, HVErrorKindNameImpossible},
    {"can't make outfile", kOwn, HVErrorKindNameImpossible},
    // Cookies
    {"failed to load cookies", kTool, HVErrorKindCookiesUnreadable},
    {"does not look like a netscape format cookies file", kPython, HVErrorKindCookiesUnreadable},
    {"cookies database", kTool, HVErrorKindCookiesUnreadable},
    {"cookie database", kTool, HVErrorKindCookiesUnreadable},
    // What the tool lacks, and what becomes of it
    {"ffmpeg not found", kTool, HVErrorKindFfmpegMissing},
    {"ffprobe not found", kTool, HVErrorKindFfmpegMissing},
    {"ffmpeg could not be found", kTool, HVErrorKindFfmpegMissing},
    {"ffmpeg is not installed", kTool, HVErrorKindFfmpegMissing},
    {"pycryptodomex not found", kTool, HVErrorKindRuntimeMissing},
    {"mutagen was not found", kTool, HVErrorKindRuntimeMissing},
    {"ffmpeg was ended before it was done", kOwn, HVErrorKindToolKilled},
    {"postprocessing:", kTool, HVErrorKindConversionFailed},
    {"audio conversion failed", kTool, HVErrorKindConversionFailed},
    // What sites say, and the tool for them
    {"drm protect", kTool, HVErrorKindDRM},
    {"geo restriction", kTool, HVErrorKindRegionRestricted},
    {"geo-restricted", kTool, HVErrorKindRegionRestricted},
    {"available in your country", kTool, HVErrorKindRegionRestricted},
    {"available in your region", kTool, HVErrorKindRegionRestricted},
    {"available from your location", kTool, HVErrorKindRegionRestricted},
    {"confirm your age", kTool, HVErrorKindAgeRestricted},
    {"age-restricted", kTool, HVErrorKindAgeRestricted},
    {"members only", kTool, HVErrorKindPaymentNeeded},
    {"members-only", kTool, HVErrorKindPaymentNeeded},
    {"premium-only", kTool, HVErrorKindPaymentNeeded},
    {"available for premium", kTool, HVErrorKindPaymentNeeded},
    {"requires payment", kTool, HVErrorKindPaymentNeeded},
    {"payment information required", kTool, HVErrorKindPaymentNeeded},
    {"join this channel to get access", kTool, HVErrorKindPaymentNeeded},
    {"private video", kTool, HVErrorKindPrivate},
    {"this video is private", kTool, HVErrorKindPrivate},
    {"account is private", kTool, HVErrorKindPrivate},
    {"for registered users", kTool, HVErrorKindLoginNeeded},
    {"sign in to confirm", kTool, HVErrorKindLoginNeeded},
    {"--cookies for the authentication", kTool, HVErrorKindLoginNeeded},
    {"unable to log in", kTool, HVErrorKindLoginNeeded},
    {"rate-limited", kTool, HVErrorKindRateLimited},
    {"too many requests", kTool, HVErrorKindRateLimited},
    {"event will begin in", kTool, HVErrorKindLiveNotBegun},
    {"premieres in", kTool, HVErrorKindLiveNotBegun},
    {"event has not yet started", kTool, HVErrorKindLiveNotBegun},
    {"is not currently live", kTool, HVErrorKindLiveNotBegun},
    {"no longer available", kTool, HVErrorKindGone},
    {"video has been removed", kTool, HVErrorKindGone},
    {"video has been deleted", kTool, HVErrorKindGone},
    {"has been terminated", kTool, HVErrorKindGone},
    {"video does not exist", kTool, HVErrorKindGone},
    {"page does not exist", kTool, HVErrorKindGone},
    {"video unavailable", kTool, HVErrorKindGone},
    {"requested format is not available", kTool, HVErrorKindFormatUnavailable},
    {"no video formats found", kTool, HVErrorKindFormatUnavailable},
    // The network
    {"certificate verify failed", kPython, HVErrorKindNetwork, true},
    {"timed out", kPython, HVErrorKindTimedOut},
    {"timeout was reached", kCurl, HVErrorKindTimedOut},
    {"connection refused", kSystem, HVErrorKindNetwork},
    {"connection reset", kSystem, HVErrorKindNetwork},
    {"network is unreachable", kSystem, HVErrorKindNetwork},
    {"no route to host", kSystem, HVErrorKindNetwork},
    {"name or service not known", kSystem, HVErrorKindNetwork},
    {"nodename nor servname", kSystem, HVErrorKindNetwork},
    {"name resolution", kSystem, HVErrorKindNetwork},
    {"failed to resolve", kTool, HVErrorKindNetwork},
    {"remote end closed connection", kPython, HVErrorKindNetwork},
    {"unable to connect to proxy", kTool, HVErrorKindNetwork},
    {"did not get any data blocks", kTool, HVErrorKindNetwork},
    {"content too short", kTool, HVErrorKindNetwork},
    {"more expected", kTool, HVErrorKindNetwork},
    {"bytes, expected", kTool, HVErrorKindNetwork},
    {"could not resolve host", kCurl, HVErrorKindNetwork},
    {"couldn't connect to server", kCurl, HVErrorKindNetwork},
    // The tool itself; what it did not expect of a site ends in an appeal to report it
    {"please report this issue on", kTool, HVErrorKindToolBroken},
    {"traceback (most recent call last)", kPython, HVErrorKindToolBroken},
};

/// Warnings that tell why the tool then found nothing.
constexpr Words kWarnings[] = {
    {"no supported javascript runtime", kTool, HVErrorKindRuntimeMissing},
    {"no impersonate target is available", kTool, HVErrorKindRuntimeMissing},
};

std::string SmallLetters(std::string_view text) {
    std::string small(text);
    std::transform(small.begin(), small.end(), small.begin(),
                   [](unsigned char c) { return static_cast<char>(c < 0x80 ? std::tolower(c) : c); });
    return small;
}

template <typename Table>
HVFault Find(Table const& table, std::string_view text) {
    for (Words const& row : table)
        if (text.find(row.words) != std::string_view::npos) {
            HVFault fault = FaultOfKind(row.kind);
            fault.mayPass = fault.mayPass && !row.neverPasses;
            return fault;
        }
    return {};
}

/// By the number behind "HTTP Error".
HVFault FindStatus(std::string_view text) {
    constexpr std::string_view kMark = "http error ";
    auto const mark = text.find(kMark);
    int status = 0;
    if (mark != std::string_view::npos) {
        text.remove_prefix(mark + kMark.size());
        std::from_chars(text.data(), text.data() + text.size(), status);
    }
    return FaultOfStatus(status);
}

/// The message's lines that tell the fault, each with its line end. The appeal to report it stays in them.
std::string FaultText(std::string const& small) {
    std::string marked;
    for (auto const line : TextLines(small))
        if (line.find("error:") != std::string_view::npos || line.starts_with("traceback"))
            marked.append(line).append("\n");
    return marked;
}

} // namespace

HVFault FaultOfStatus(int status) {
    constexpr int kServerErrors = 500;
    switch (status) {
    case 401:
        return FaultOfKind(HVErrorKindLoginNeeded);
    case 402:
        return FaultOfKind(HVErrorKindPaymentNeeded);
    case 403:
        return FaultOfKind(HVErrorKindForbidden);
    case 404:
    case 410:
        return FaultOfKind(HVErrorKindGone);
    case 407: // the proxy's login
        return {HVErrorKindNetwork, false, 0};
    case 408:
    case 504:
        return FaultOfKind(HVErrorKindTimedOut);
    case 429:
        return FaultOfKind(HVErrorKindRateLimited);
    case 451:
        return FaultOfKind(HVErrorKindRegionRestricted);
    default:
        return status >= kServerErrors ? FaultOfKind(HVErrorKindNetwork) : HVFault{};
    }
}

HVFault FaultOfWords(std::string_view message) {
    if (message.starts_with("Can't start \""))
        return message.find("about to end") == std::string_view::npos ? FaultOfKind(HVErrorKindToolMissing)
                                                                      : HVFault{};
    if (message.starts_with("Can't start the tool: no path"))
        return FaultOfKind(HVErrorKindToolMissing);
    std::string const all = SmallLetters(message);
    std::string const marked = FaultText(all);
    std::string const& told = marked.empty() ? all : marked;
    HVFault fault = FindStatus(told);
    if (fault.kind == HVErrorKindOther)
        fault = Find(kFaultWords, told);
    if (fault.kind == HVErrorKindOther || fault.kind == HVErrorKindFormatUnavailable ||
        fault.kind == HVErrorKindForbidden)
        if (HVFault const reason = Find(kWarnings, all); reason.kind != HVErrorKindOther)
            fault = reason;
    return fault;
}

} // namespace Halvorn

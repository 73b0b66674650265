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
    HVErrorKind kind;
    std::string_view seen; ///< the version of the tool, or the other program, that says so
    bool neverPasses = false;
};

constexpr std::string_view kTool = "2026.10.26";
constexpr std::string_view kPython = "Python 3.11";
constexpr std::string_view kSystem = "the system's own words";
constexpr std::string_view kOwn = "the library";
constexpr std::string_view kCurl = "libcurl 7.88";

/// The first row whose words stand in a line that tells the fault counts: what is certain comes first.
constexpr Words kFaultWords[] = {
    {"no such option", HVErrorKindToolTooOld, kTool},
    {"unsupported url", HVErrorKindUnsupportedAddress, kTool},
    {"is not a valid url", HVErrorKindUnsupportedAddress, kTool},
    {"no suitable extractor", HVErrorKindUnsupportedAddress, kTool},
    // The disk and the files
    {"no space left on device", HVErrorKindDiskFull, kSystem},
    {"disk quota exceeded", HVErrorKindDiskFull, kSystem},
    {"no space is left there", HVErrorKindDiskFull, kOwn},
    {"share of the disk is used up", HVErrorKindDiskFull, kOwn},
    {"permission denied", HVErrorKindNoPermission, kSystem},
    {"there is no permission", HVErrorKindNoPermission, kOwn},
    {"the disk can only be read", HVErrorKindNoPermission, kOwn},
    {"read-only file system", HVErrorKindNoPermission, kSystem},
    {"file name too long", HVErrorKindNameImpossible, kSystem},
    {"the name is too long", HVErrorKindNameImpossible, kOwn},
    {"can't make outfile", HVErrorKindNameImpossible, kOwn},
    // Cookies
    {"failed to load cookies", HVErrorKindCookiesUnreadable, kTool},
    {"does not look like a netscape format cookies file", HVErrorKindCookiesUnreadable, kPython},
    {"cookies database", HVErrorKindCookiesUnreadable, kTool},
    {"cookie database", HVErrorKindCookiesUnreadable, kTool},
    // What the tool lacks, and what becomes of it
    {"ffmpeg not found", HVErrorKindFfmpegMissing, kTool},
    {"ffprobe not found", HVErrorKindFfmpegMissing, kTool},
    {"ffmpeg could not be found", HVErrorKindFfmpegMissing, kTool},
    {"ffmpeg is not installed", HVErrorKindFfmpegMissing, kTool},
    {"pycryptodomex not found", HVErrorKindRuntimeMissing, kTool},
    {"postprocessing:", HVErrorKindConversionFailed, kTool},
    {"audio conversion failed", HVErrorKindConversionFailed, kTool},
    // What sites say, and the tool for them
    {"drm protect", HVErrorKindDRM, kTool},
    {"geo restriction", HVErrorKindRegionRestricted, kTool},
    {"geo-restricted", HVErrorKindRegionRestricted, kTool},
    {"available in your country", HVErrorKindRegionRestricted, kTool},
    {"available in your region", HVErrorKindRegionRestricted, kTool},
    {"available from your location", HVErrorKindRegionRestricted, kTool},
    {"confirm your age", HVErrorKindAgeRestricted, kTool},
    {"age-restricted", HVErrorKindAgeRestricted, kTool},
    {"members only", HVErrorKindPaymentNeeded, kTool},
    {"members-only", HVErrorKindPaymentNeeded, kTool},
    {"premium-only", HVErrorKindPaymentNeeded, kTool},
    {"available for premium", HVErrorKindPaymentNeeded, kTool},
    {"requires payment", HVErrorKindPaymentNeeded, kTool},
    {"payment information required", HVErrorKindPaymentNeeded, kTool},
    {"join this channel to get access", HVErrorKindPaymentNeeded, kTool},
    {"private video", HVErrorKindPrivate, kTool},
    {"this video is private", HVErrorKindPrivate, kTool},
    {"account is private", HVErrorKindPrivate, kTool},
    {"for registered users", HVErrorKindLoginNeeded, kTool},
    {"sign in to confirm", HVErrorKindLoginNeeded, kTool},
    {"--cookies for the authentication", HVErrorKindLoginNeeded, kTool},
    {"unable to log in", HVErrorKindLoginNeeded, kTool},
    {"rate-limited", HVErrorKindRateLimited, kTool},
    {"too many requests", HVErrorKindRateLimited, kTool},
    {"event will begin in", HVErrorKindLiveNotBegun, kTool},
    {"premieres in", HVErrorKindLiveNotBegun, kTool},
    {"event has not yet started", HVErrorKindLiveNotBegun, kTool},
    {"is not currently live", HVErrorKindLiveNotBegun, kTool},
    {"no longer available", HVErrorKindGone, kTool},
    {"video has been removed", HVErrorKindGone, kTool},
    {"video has been deleted", HVErrorKindGone, kTool},
    {"has been terminated", HVErrorKindGone, kTool},
    {"video does not exist", HVErrorKindGone, kTool},
    {"page does not exist", HVErrorKindGone, kTool},
    {"video unavailable", HVErrorKindGone, kTool},
    {"requested format is not available", HVErrorKindFormatUnavailable, kTool},
    {"no video formats found", HVErrorKindFormatUnavailable, kTool},
    // The network
    {"certificate verify failed", HVErrorKindNetwork, kPython, true},
    {"timed out", HVErrorKindTimedOut, kPython},
    {"timeout was reached", HVErrorKindTimedOut, kCurl},
    {"connection refused", HVErrorKindNetwork, kSystem},
    {"connection reset", HVErrorKindNetwork, kSystem},
    {"network is unreachable", HVErrorKindNetwork, kSystem},
    {"no route to host", HVErrorKindNetwork, kSystem},
    {"name or service not known", HVErrorKindNetwork, kSystem},
    {"nodename nor servname", HVErrorKindNetwork, kSystem},
    {"name resolution", HVErrorKindNetwork, kSystem},
    {"failed to resolve", HVErrorKindNetwork, kTool},
    {"remote end closed connection", HVErrorKindNetwork, kPython},
    {"unable to connect to proxy", HVErrorKindNetwork, kTool},
    {"did not get any data blocks", HVErrorKindNetwork, kTool},
    {"content too short", HVErrorKindNetwork, kTool},
    {"more expected", HVErrorKindNetwork, kTool},
    {"bytes, expected", HVErrorKindNetwork, kTool},
    {"could not resolve host", HVErrorKindNetwork, kCurl},
    {"couldn't connect to server", HVErrorKindNetwork, kCurl},
    // The tool itself; what it did not expect of a site ends in an appeal to report it
    {"please report this issue on", HVErrorKindToolBroken, kTool},
    {"traceback (most recent call last)", HVErrorKindToolBroken, kPython},
};

/// Warnings that tell why the tool then found nothing.
constexpr Words kWarnings[] = {
    {"no supported javascript runtime", HVErrorKindRuntimeMissing, kTool},
    {"no impersonate target is available", HVErrorKindRuntimeMissing, kTool},
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

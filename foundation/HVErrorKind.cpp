// What is known of each kind of failure.

#include "HVErrorKind.h"
#include "HVExplainedError.h"

#include <algorithm>
#include <iterator>

namespace Halvorn {

namespace {

struct KindRow {
    HVErrorKind kind;
    bool mayPass;
    char const* name;
    char const* remedy;
};

constexpr KindRow kKinds[] = {
    {HVErrorKindOther, false, "other", ""},
    {HVErrorKindNone, false, "none", ""},
    {HVErrorKindCancelled, false, "cancelled", ""},
    {HVErrorKindNetwork, true, "network", "Check the connection and the proxy, and try again."},
    {HVErrorKindTimedOut, true, "timed-out", "Try again later: the server does not answer."},
    {HVErrorKindRateLimited, true, "rate-limited",
     "Wait before the next try: the site takes no more requests from you for now."},
    {HVErrorKindLoginNeeded, false, "login-needed",
     "Log in: give the account, or the cookies of a browser in which you are logged in."},
    {HVErrorKindForbidden, false, "forbidden",
     "Look whether a browser shows it: the site may want cookies, or may have blocked your address."},
    {HVErrorKindPaymentNeeded, false, "payment-needed",
     "Log in with an account that has paid for it or is a member."},
    {HVErrorKindAgeRestricted, false, "age-restricted",
     "Log in with an account whose age the site knows, or use the cookies of such a browser."},
    {HVErrorKindRegionRestricted, false, "region-restricted",
     "Use a proxy in a country where the site offers it."},
    {HVErrorKindPrivate, false, "private", "Log in with an account to which the owner shows it."},
    {HVErrorKindGone, false, "gone", "Check the address: what it leads to is not there any more."},
    {HVErrorKindLiveNotBegun, true, "live-not-begun", "Try again when the stream has begun."},
    {HVErrorKindDRM, false, "drm", "Nothing can be done: it is copy-protected."},
    {HVErrorKindUnsupportedAddress, false, "unsupported-address",
     "Check the address, or update yt-dlp: it may know the site by now."},
    {HVErrorKindFormatUnavailable, false, "format-unavailable",
     "Load the address anew and choose among the formats that it offers now."},
    {HVErrorKindToolMissing, false, "tool-missing",
     "Install yt-dlp where it is looked for, and see that it can be run."},
    {HVErrorKindToolTooOld, false, "tool-too-old", "Update yt-dlp: this copy is too old."},
    {HVErrorKindToolBroken, false, "tool-broken",
     "Update yt-dlp: it does not get along with the site as that is now."},
    {HVErrorKindToolKilled, true, "tool-killed",
     "Try again; if that ends in the same way, look whether the memory runs out, or install yt-dlp anew."},
    {HVErrorKindRuntimeMissing, false, "runtime-missing",
     "Install what yt-dlp says that it lacks: deno for some sites, or a module of Python."},
    {HVErrorKindFfmpegMissing, false, "ffmpeg-missing",
     "Install ffmpeg beside yt-dlp, or choose a format that needs no merging."},
    {HVErrorKindConversionFailed, false, "conversion-failed",
     "Choose another format or another container: ffmpeg can't make the file of these parts."},
    {HVErrorKindCookiesUnreadable, false, "cookies-unreadable",
     "Make the cookies file anew, or close the browser that its cookies are to come from."},
    {HVErrorKindDiskFull, false, "disk-full", "Make room on the disk, or choose another folder."},
    {HVErrorKindNoPermission, false, "no-permission", "Choose a folder in which you may write."},
    {HVErrorKindNameImpossible, false, "name-impossible", "Choose a shorter or simpler file name."},
};

KindRow const& RowOf(HVErrorKind kind) {
    auto const* const row = std::find_if(std::begin(kKinds), std::end(kKinds),
                                         [kind](KindRow const& one) { return one.kind == kind; });
    return row == std::end(kKinds) ? kKinds[0] : *row;
}

} // namespace

char const* ErrorKindName(HVErrorKind kind) {
    return RowOf(kind).name;
}

char const* ErrorKindRemedy(HVErrorKind kind) {
    return RowOf(kind).remedy;
}

HVFault FaultOfKind(HVErrorKind kind) {
    return {kind, RowOf(kind).mayPass, 0};
}

std::string IHVError::GetRemedy() const {
    return ErrorKindRemedy(GetKind());
}

} // namespace Halvorn

// What is known of each kind of failure.

#include "HVErrorKind.h"
#include "HVExplainedError.h"

#include <algorithm>
#include <iterator>

namespace Halvorn {

namespace {

struct KindRow {
    HVErrorKind kind;
    char const* name;
    bool mayPass;
    char const* remedy;
};

constexpr KindRow kKinds[] = {
    {HVErrorKindOther, "other", false, ""},
    {HVErrorKindNone, "none", false, ""},
    {HVErrorKindCancelled, "cancelled", false, ""},
    {HVErrorKindNetwork, "network", true, "Check the connection and the proxy, and try again."},
    {HVErrorKindTimedOut, "timed-out", true, "Try again later: the server does not answer."},
    {HVErrorKindRateLimited, "rate-limited", true,
     "Wait before the next try: the site takes no more requests from you for now."},
    {HVErrorKindLoginNeeded, "login-needed", false,
     "Log in: give the account, or the cookies of a browser in which you are logged in."},
    {HVErrorKindForbidden, "forbidden", false,
     "Look whether a browser shows it: the site may want cookies, or may have blocked your address."},
    {HVErrorKindPaymentNeeded, "payment-needed", false,
     "Log in with an account that has paid for it or is a member."},
    {HVErrorKindAgeRestricted, "age-restricted", false,
     "Log in with an account whose age the site knows, or use the cookies of such a browser."},
    {HVErrorKindRegionRestricted, "region-restricted", false,
     "Use a proxy in a country where the site offers it."},
    {HVErrorKindPrivate, "private", false, "Log in with an account to which the owner shows it."},
    {HVErrorKindGone, "gone", false, "Check the address: what it leads to is not there any more."},
    {HVErrorKindLiveNotBegun, "live-not-begun", true, "Try again when the stream has begun."},
    {HVErrorKindDRM, "drm", false, "Nothing can be done: it is copy-protected."},
    {HVErrorKindUnsupportedAddress, "unsupported-address", false,
     "Check the address, or update yt-dlp: it may know the site by now."},
    {HVErrorKindFormatUnavailable, "format-unavailable", false,
     "Load the address anew and choose among the formats that it offers now."},
    {HVErrorKindToolMissing, "tool-missing", false,
     "Install yt-dlp where it is looked for, and see that it can be run."},
    {HVErrorKindToolTooOld, "tool-too-old", false, "Update yt-dlp: this copy is too old."},
    {HVErrorKindToolBroken, "tool-broken", false,
     "Update yt-dlp: it does not get along with the site as that is now."},
    {HVErrorKindRuntimeMissing, "runtime-missing", false,
     "Install deno, or what else yt-dlp says that it lacks for this site."},
    {HVErrorKindFfmpegMissing, "ffmpeg-missing", false,
     "Install ffmpeg beside yt-dlp, or choose a format that needs no merging."},
    {HVErrorKindConversionFailed, "conversion-failed", false,
     "Choose another format or another container: ffmpeg can't make the file of these parts."},
    {HVErrorKindCookiesUnreadable, "cookies-unreadable", false,
     "Make the cookies file anew, or close the browser that its cookies are to come from."},
    {HVErrorKindDiskFull, "disk-full", false, "Make room on the disk, or choose another folder."},
    {HVErrorKindNoPermission, "no-permission", false, "Choose a folder in which you may write."},
    {HVErrorKindNameImpossible, "name-impossible", false, "Choose a shorter or simpler file name."},
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

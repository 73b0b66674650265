#pragma once
/// \file
/// What kind of failure an error object tells of: IHVError::GetKind gives it.
///
/// Thread-safety: all operations are pure and may be called from any thread.

#include "HVExport.h"

namespace Halvorn {

/// The values are fixed; later versions may add kinds at the end.
enum HVErrorKind {
    HVErrorKindNone = 0,                ///< no failure
    HVErrorKindOther = 1,               ///< a failure of which no more is known than its message
    HVErrorKindCancelled = 2,           ///< the user stopped it
    HVErrorKindNetwork = 3,             ///< no connection, a broken one, or a server that fails
    HVErrorKindTimedOut = 4,            ///< the server does not answer
    HVErrorKindRateLimited = 5,         ///< too many requests: the site asks to wait
    HVErrorKindLoginNeeded = 6,         ///< an account or cookies are needed, or are not accepted
    HVErrorKindForbidden = 7,           ///< the site refuses, and does not say why
    HVErrorKindPaymentNeeded = 8,       ///< for paying users or members alone
    HVErrorKindAgeRestricted = 9,       ///< the site wants to know the user's age
    HVErrorKindRegionRestricted = 10,   ///< not to be had in the user's country
    HVErrorKindPrivate = 11,            ///< the owner shows it to some people only
    HVErrorKindGone = 12,               ///< it was removed, or never was there
    HVErrorKindLiveNotBegun = 13,       ///< a live stream that is announced, or a channel that is off
    HVErrorKindDRM = 14,                ///< copy protection
    HVErrorKindUnsupportedAddress = 15, ///< nothing that the tool can read
    HVErrorKindFormatUnavailable = 16,  ///< the chosen format is not offered any more, or none is
    HVErrorKindToolMissing = 17,        ///< the tool is not there, or can't be started
    HVErrorKindToolTooOld = 18,         ///< the tool does not know an option
    HVErrorKindToolBroken = 19,         ///< the tool broke down, or does not understand the site any more
    HVErrorKindRuntimeMissing = 20,     ///< a JS runtime or an extension of the tool is missing
    HVErrorKindFfmpegMissing = 21,      ///< ffmpeg is not there
    HVErrorKindConversionFailed = 22,   ///< ffmpeg could not merge or convert
    HVErrorKindCookiesUnreadable = 23,  ///< the cookies file, or the browser's cookies, can't be read
    HVErrorKindDiskFull = 24,           ///< no space is left
    HVErrorKindNoPermission = 25,       ///< the folder or the file may not be written
    HVErrorKindNameImpossible = 26,     ///< the system takes no file of this name
    HVErrorKindToolKilled = 27          ///< the tool or ffmpeg was killed, or crashed
};

/// The kind as one word for a program, such as "rate-limited"; "other" for a number that is no kind.
HV_EXPORT char const* ErrorKindName(HVErrorKind kind);
/// What a user can do about a failure of this kind, in one sentence; empty where nothing is known to help.
HV_EXPORT char const* ErrorKindRemedy(HVErrorKind kind);

} // namespace Halvorn

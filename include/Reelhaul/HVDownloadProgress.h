#pragma once
/// \file
/// How far a download is, in numbers: what the tool itself knows, without a text to be parsed.
///
/// Records are values. IHVDownloadController::SetProgressFunc and GetProgress give them, and
/// IHVDownloadControllers::GetProgress the sum over a queue.

#include "HVExport.h"

#include <cstdint>

namespace Halvorn {

/// What a download does at the moment. The values are fixed; later versions may add phases at the end.
enum HVDownloadPhase {
    HVDownloadPhaseNone = 0,    ///< not started, stopped or failed
    HVDownloadPhaseWaiting = 1, ///< waits for a free place in the queue, or for another download of the item
    HVDownloadPhaseRetryWaiting = 2, ///< waits before it tries again
    HVDownloadPhaseAsking = 3,       ///< the tool asks the site
    HVDownloadPhaseMedia = 4,        ///< fetches a file with picture and sound
    HVDownloadPhaseVideo = 5,        ///< fetches the picture
    HVDownloadPhaseAudio = 6,        ///< fetches the sound
    HVDownloadPhaseSubtitle = 7,     ///< fetches a subtitle file
    HVDownloadPhaseThumbnail = 8,    ///< fetches a picture
    HVDownloadPhaseMerging = 9,      ///< ffmpeg joins picture and sound
    HVDownloadPhaseConverting = 10,  ///< ffmpeg mends or converts the file
    HVDownloadPhaseMoving = 11,      ///< the file gets its place
    HVDownloadPhaseDone = 12         ///< the file is in its place
};

/// The phase as one word for a program, such as "merging"; "none" for a number that is no phase.
HV_EXPORT char const* DownloadPhaseName(HVDownloadPhase phase);

/// How far one download is.
struct HVDownloadProgress {
    HVDownloadPhase phase = HVDownloadPhaseNone; ///< what is being done
    ///@{
    /// The part that is fetched, counted from 1, and how many there are: the picture and the sound, or one
    /// file. 0 while that is not known.
    int part = 0;
    int parts = 0;
    ///@}
    ///@{
    /// Bytes of the part that have come, and those that it has; 0 where that is not known.
    std::uint64_t partBytes = 0;
    std::uint64_t partTotal = 0;
    ///@}
    ///@{
    /// The same for all parts together.
    std::uint64_t bytes = 0;
    std::uint64_t total = 0;
    ///@}
    bool estimated = false;    ///< the totals are an estimate
    double bytesPerSecond = 0; ///< 0 where that is not known
    /// Until all bytes have come, or, while it waits to try again, when the wait began, until the next
    /// try; below 0 where that is not known.
    double secondsLeft = -1;
    ///@{
    /// Fragments of the part that have come, and how many it has; 0 for a part in one piece, and where that
    /// is not known.
    int fragments = 0;
    int fragmentCount = 0;
    ///@}
    bool live = false;          ///< a recording: it has no total
    double recordedSeconds = 0; ///< for how long a recording has run
    /// Of the whole, 0 to 1. It never falls within a run, moves through all phases, and is 1 only when the
    /// file is in its place.
    double fraction = 0;
};

/// How far the rows of a queue are together.
struct HVQueueProgress {
    ///@{
    /// Rows by state.
    int idle = 0;
    int waiting = 0;
    int downloading = 0;
    int paused = 0;
    int succeeded = 0;
    int failed = 0;
    int cancelled = 0;
    ///@}
    ///@{
    /// Bytes that have come, and those that there are as far as that is known, of all rows that are not idle
    /// or cancelled. Of a row that waits it is what the site says of its format, of one that is done, also of
    /// one that has failed, what has come.
    std::uint64_t bytes = 0;
    std::uint64_t total = 0;
    ///@}
    bool estimated = false;    ///< the total is an estimate, or the size of a row is not known
    double bytesPerSecond = 0; ///< of the rows that run
    /// Until the rows that run or wait have their bytes, at this rate; below 0 where that is not known, as
    /// with a row of an unknown size among them.
    double secondsLeft = -1;
    double fraction = 0; ///< mean of all rows that are not idle or cancelled; 1 of one that has failed, too
};

} // namespace Halvorn

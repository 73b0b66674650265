#pragma once
/// \file
/// What a user wants of a format, for IHVDownloadItem::BestFormat.

#include <string>

namespace Halvorn {

/// A plain value. As it stands it wishes for the best there is, with the original's sound.
struct HVFormatWish {
    /// Of the sound, such as "en", which "en-US" fulfils as well. Empty for the original's. An item that
    /// tells no language at all fulfils every wish.
    std::string language;
    /// Pixels that the smaller side of the picture may have, 1080 for "1080p"; 0 for no limit.
    int maxHeight = 0;
    /// Frames a second that the picture may have; 0 for no limit.
    float maxFramePerSecond = 0;
    /// Extension that is taken before all others where there is one within the limits, such as "mp4".
    std::string container;
    /// Codec of the picture, or of a sound alone, that is taken before all others, such as "avc1", "h264",
    /// "vp9", "av1".
    std::string codec;
    /// Sound alone.
    bool audioOnly = false;
    /// The least instead of the best.
    bool worst = false;
};

} // namespace Halvorn

#pragma once
// The choice of one format out of all that the tool lists for an item. Pure; any thread.

#include "HVFormatWish.h"
#include "IHVDownloadFormat.h"

#include <memory>
#include <string>
#include <vector>

namespace Halvorn {

class IHVDownloadItem;

class HVFormatChoice {
public:
    using Format = std::shared_ptr<IHVDownloadFormat>;
    using Formats = std::vector<Format>;

    /// `formats` in the tool's order, the best last, which is by more than can be seen in a format: the
    /// tool's own preferences among languages, sources and codecs are in it. A merged one counts as one with
    /// picture and sound. Kept by reference, as is `wish`.
    HVFormatChoice(Formats const& formats, HVFormatWish const& wish, bool liveStream);

    /// Empty when nothing is within the limits or in the language.
    Format Best() const;

    /// Of what the item has now, that which comes nearest to a format that it had, and is no larger where
    /// there is such a one. Empty where nothing has its language, or is a sound alone as that was.
    static Format Nearest(IHVDownloadItem const& item, IHVDownloadFormat const& former);
    /// A picture and a sound as one format, into a container that takes both as they are.
    static Format Pair(Format const& picture, Format const& sound, bool liveStream);

private:
    /// What counts beside the limits.
    struct Preference {
        bool container = false;
        bool codec = false;
    };

    bool WithinLimits(IHVDownloadFormat const& format) const;
    bool InLanguage(IHVDownloadFormat const& format) const;
    bool Preferred(IHVDownloadFormat const& format, Preference preference) const;
    /// Those that carry sound alone, in the wished language, the best first.
    Formats Sounds() const;
    Format BestSound(Preference preference) const;
    Format BestPicture(Preference preference) const;
    Format WithSound(Format const& picture, Preference preference) const;

    HVFormatWish const& wish_;
    bool const liveStream_;
    bool languagesTold_ = false;
    /// The best first, or the worst first where that is the wish.
    Formats ordered_;
    Formats sounds_;
};

} // namespace Halvorn

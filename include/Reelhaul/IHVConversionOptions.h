#pragma once
/// \class Halvorn::IHVConversionOptions
/// What becomes of a download once it is fetched: sound alone, another container, what is put into the file,
/// parts of it. The tool and ffmpeg do the work. A new record asks for nothing.
///
/// What can't go together is refused by the operation that would bring it about: it changes nothing then, and
/// its error says why and what to do. What depends on the item (its format, its subtitles) is asked with
/// Check; a download asks it, too, before it begins.
///
/// A download with such a record needs ffmpeg, and for thumbnails and sponsored parts ffprobe beside it: it
/// fails at once with HVErrorKindFfmpegMissing where they are not there. Its file has the extension that it
/// then is of. A live stream can't be converted.
///
/// Thread-safety: none; set the record up before it goes to a task or a controller, whose worker threads read
/// it. No operation blocks. Ownership: shared pointers; see IHVDownloadOptions::SetConversionOptions.

#include "HVExport.h"

#include <memory>
#include <string>
#include <vector>

namespace Halvorn {

class IHVDownloadItem;
class IHVError;

/// A part of an item, in seconds from its beginning. A plain value.
struct HVSection {
    double begin = 0; ///< less than `end`, unless that is 0
    double end = 0;   ///< 0 for the item's end
};

class HV_EXPORT IHVConversionOptions {
public:
    /// As a quality of SetAudio: the tool's own.
    enum : int { HVDefaultAudioQuality = -1 };

    /// A record that asks for nothing.
    static std::shared_ptr<IHVConversionOptions> MallocConversionOptions();

    /// Keeps the sound only: as "mp3", "m4a", "opus", "flac", "wav", or "best" for the sound as it is, in a
    /// file of its own kind; empty for the picture as well. Of a format with a picture only the sound is
    /// fetched where the site has it apart. `quality` is 0 (best) to 10, or kbit/s above that; it counts
    /// where the sound has to be encoded anew. "opus" takes kbit/s alone, "best", "flac" and "wav" nothing.
    virtual std::shared_ptr<IHVError const> SetAudio(std::string const& kind, int quality) = 0;
    virtual std::string GetAudio() const = 0; ///< empty unless set
    virtual int GetAudioQuality() const = 0;  ///< see SetAudio
    ///@{
    /// Puts picture and sound into a "mkv" or a "mp4" as they are, without encoding them anew; empty for the
    /// container of the format.
    virtual std::shared_ptr<IHVError const> SetContainer(std::string const& container) = 0;
    virtual std::string GetContainer() const = 0;
    ///@}

    ///@{
    /// The item's picture as the cover. False.
    virtual std::shared_ptr<IHVError const> SetEmbedThumbnail(bool embed) = 0;
    virtual bool GetEmbedThumbnail() const = 0;
    ///@}
    ///@{
    /// Title, uploader, date, description, address, and the chapters. False.
    virtual std::shared_ptr<IHVError const> SetEmbedMetadata(bool embed) = 0;
    virtual bool GetEmbedMetadata() const = 0;
    ///@}
    ///@{
    /// The chapters alone. False.
    virtual std::shared_ptr<IHVError const> SetEmbedChapters(bool embed) = 0;
    virtual bool GetEmbedChapters() const = 0;
    ///@}
    /// The item's chosen subtitles as streams of the file. With `keepFiles` they stand beside it as well.
    /// False.
    virtual std::shared_ptr<IHVError const> SetEmbedSubtitles(bool embed, bool keepFiles) = 0;
    virtual bool GetEmbedSubtitles() const = 0;    ///< see SetEmbedSubtitles
    virtual bool GetKeepSubtitleFiles() const = 0; ///< true where none are embedded
    ///@{
    /// Has the subtitles converted to "srt", "vtt" or "ass"; empty for as they are.
    virtual std::shared_ptr<IHVError const> SetSubtitleFormat(std::string const& format) = 0;
    virtual std::string GetSubtitleFormat() const = 0;
    ///@}

    ///@{
    /// Fetches only these parts; empty for the whole. Several give a file each. ffmpeg fetches them; see
    /// SetExactCuts. Such a download can't go on where it stopped.
    virtual std::shared_ptr<IHVError const> SetSections(std::vector<HVSection> const& sections) = 0;
    virtual std::vector<HVSection> GetSections() const = 0;
    ///@}
    ///@{
    /// Gives a file for each chapter in place of the whole; the whole where there are no chapters. False.
    virtual std::shared_ptr<IHVError const> SetSplitChapters(bool split) = 0;
    virtual bool GetSplitChapters() const = 0;
    ///@}
    ///@{
    /// Has all parts, chapters and sponsored parts cut at the very moment, for which the file is encoded
    /// anew: that takes long. False: they are cut at key frames, and may begin some seconds early.
    virtual std::shared_ptr<IHVError const> SetExactCuts(bool exact) = 0;
    virtual bool GetExactCuts() const = 0;
    ///@}
    ///@{
    /// Cuts parts out, or marks them as chapters, that users have reported to the tool's service for them
    /// (SponsorBlock, for YouTube alone): categories with commas between them, such as "sponsor,intro", or
    /// "all", one with "-" in front of it left out; empty for none. The service learns a part of the
    /// item's hashed identifier.
    virtual std::shared_ptr<IHVError const> SetSponsorsRemoved(std::string const& categories) = 0;
    virtual std::string GetSponsorsRemoved() const = 0;
    virtual std::shared_ptr<IHVError const> SetSponsorsMarked(std::string const& categories) = 0;
    virtual std::string GetSponsorsMarked() const = 0;
    ///@}
    ///@{
    /// Address of that service, http or https; empty for the tool's own.
    virtual std::shared_ptr<IHVError const> SetSponsorService(std::string const& url) = 0;
    virtual std::string GetSponsorService() const = 0;
    ///@}

    /// Nothing is asked for: a download is made as without a record.
    virtual bool Empty() const = 0;
    /// Whether the item can be converted so as it is chosen now: its format, its subtitles, its duration.
    virtual std::shared_ptr<IHVError const> Check(IHVDownloadItem const& item) const = 0;
    /// A record of its own with the same values.
    virtual std::shared_ptr<IHVConversionOptions> Clone() const = 0;

protected:
    ~IHVConversionOptions() = default;
};

} // namespace Halvorn

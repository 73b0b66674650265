#pragma once
/// \class Halvorn::IHVDownloadItem
/// One thing that can be downloaded: an address, what the analysis found about it, and the user's choices.
///
/// Thread-safety: the file name and the downloaded file may be set and read from any thread at any time; for
/// the rest it has none of its own. The analysis fills an item before its delegate gets it; after that the
/// application and a download of the item use it in turn. A controller takes the choice when it is asked to
/// start, so the item may be changed for another one after that; a task of IHVDownloadTask reads the item
/// while it runs. No operation blocks. Ownership: held by shared pointers. An item holds its formats,
/// subtitles and thumbnail; it only observes its playlist.

#include "HVExport.h"
#include "HVFormatWish.h"
#include "HVItemDetails.h"
#include "IHVDownloadFormat.h"
#include "IHVDownloadSubtitle.h"
#include "IHVDownloadThumbnail.h"

#include <memory>
#include <string>
#include <vector>

namespace Halvorn {

class IHVPlayList;

class HV_EXPORT IHVDownloadItem {
public:
    /// Where the download of a live stream is to start. Kept for the application; the library only stores it.
    enum LiveStreamPos : int { LiveStreamFromStart = 0, LiveStreamFromNow = 1 };

    /// An item without formats.
    static std::shared_ptr<IHVDownloadItem> MallocDownloadItem(std::string const& url);
    /// An item with these formats, of which the first is chosen.
    static std::shared_ptr<IHVDownloadItem>
    MallocDownloadItem(std::vector<std::shared_ptr<IHVDownloadFormat>> const& formats,
                       std::string const& url);
    /// The duration in seconds, also that of an analysis from tables, which GetDurationSeconds does not know;
    /// 0 when unknown.
    static int KnownDurationSeconds(IHVDownloadItem const& item);

    ///@{
    /// Append formats and choose the first of all, whatever was chosen before. Empty pointers are left out.
    virtual void AddDownloadFormat(std::shared_ptr<IHVDownloadFormat> format) = 0;
    virtual void AddDownloadFormat(std::vector<std::shared_ptr<IHVDownloadFormat>> const& formats) = 0;
    ///@}
    /// Number of formats.
    virtual int GetDownloadFormatCount() const = 0;
    /// Empty when out of range.
    virtual std::shared_ptr<IHVDownloadFormat> GetDownloadFormatAtIndex(int index) const = 0;
    /// Index of the chosen format, -1 when none was ever given.
    virtual int GetCurrentFormatIndex() const = 0;
    /// Chooses a format. Another one than before also forgets the downloaded file; an index out of range is
    /// logged and changes nothing.
    virtual void SetCurrentFormatIndex(int index) = 0;
    /// The address of the item; empty for an entry of a playlist that has none of its own.
    virtual std::string const& DownloadURL() const = 0;
    ///@{
    /// Proposes a file name, without an extension. An empty one is ignored; "unknown" until one is set.
    virtual void SetFileName(std::string const& name) = 0;
    virtual std::string const& GetFileName() const = 0;
    ///@}
    /// Sets the duration in seconds, and with it the text of GetDurationString.
    virtual void SetDuration(int seconds) = 0;
    /// Keeps the tool's own text of the duration, which GetDurationString does not show.
    virtual void SetDuration(std::string const& text) = 0;
    /// "hh:mm:ss"; "00:00:00" when unknown.
    virtual std::string const& GetDurationString() const = 0;
    /// 0 when unknown.
    virtual int GetDurationSeconds() const = 0;
    ///@{
    /// The best thumbnail; empty when there is none.
    virtual std::shared_ptr<IHVDownloadThumbnail> GetThumbnail() const = 0;
    virtual void SetThumbnail(std::shared_ptr<IHVDownloadThumbnail> thumbnail) = 0;
    ///@}
    ///@{
    /// Whether the item goes on as long as it is downloaded. False until it is set.
    virtual bool IsLiveStream() const = 0;
    virtual void SetLiveStream(bool liveStream) = 0;
    ///@}
    ///@{
    /// LiveStreamFromNow until it is set.
    virtual LiveStreamPos GetLiveStreamDownloadPos() const = 0;
    virtual void SetLiveStreamDownloadPos(LiveStreamPos pos) = 0;
    ///@}
    ///@{
    /// Append subtitles; the choice stays. Empty pointers are left out.
    virtual void AddDownloadSubtitle(std::shared_ptr<IHVDownloadSubtitle> subtitle) = 0;
    virtual void AddDownloadSubtitles(std::vector<std::shared_ptr<IHVDownloadSubtitle>> const& subtitles) = 0;
    ///@}
    /// Number of subtitle languages.
    virtual int GetDownloadSubtitlesCount() const = 0;
    ///@{
    /// That subtitle, or the chosen one; empty when out of range or none is chosen.
    virtual std::shared_ptr<IHVDownloadSubtitle const> GetDownloadSubtitleAtIndex(int index) const = 0;
    virtual std::shared_ptr<IHVDownloadSubtitle const> CurrentDownloadSubtitle() const = 0;
    virtual std::shared_ptr<IHVDownloadSubtitle> GetDownloadSubtitleAtIndex(int index) = 0;
    virtual std::shared_ptr<IHVDownloadSubtitle> CurrentDownloadSubtitle() = 0;
    ///@}
    ///@{
    /// The chosen subtitle language, -1 for none. Any number is stored; one out of range chooses none.
    virtual int GetCurrentSubtitleIndex() const = 0;
    virtual void SetCurrentSubtitleIndex(int index) = 0;
    ///@}
    /// Set by the download of the item.
    virtual void SetDownloadedFile(std::string const& path) = 0;
    /// Forgets the downloaded file; the file stays.
    virtual void ResetDownload() = 0;
    /// Path of the finished download; empty until there is one.
    virtual std::string const& GetDownloadFile() const = 0;
    /// Tells the item which playlist it belongs to, and its index there. An empty list changes nothing.
    virtual void SetPlayList(std::shared_ptr<IHVPlayList> playList, int index) = 0;
    /// -1 for an item of no playlist.
    virtual int GetEntryIndexOfPlayList() const = 0;
    ///@{
    /// Empty once the playlist is gone; its address stays.
    virtual std::shared_ptr<IHVPlayList> GetPlayList() const = 0;
    virtual std::string GetPlaylistURL() const = 0;
    ///@}

    /// Whether there is a format to download.
    bool Valid() const;
    /// Whether the item belongs to a playlist that is still there.
    bool IsPlayListItem() const;
    /// The chosen format; empty when there is none.
    std::shared_ptr<IHVDownloadFormat> GetCurrentDownloadFormat() const;
    /// Extension of the chosen format; empty when there is none.
    std::string CurrentExtension() const;

    /// Every format as the tool lists it, none of them merged, in its order: the best last. Also those that
    /// the list of the item leaves out, such as a picture that no sound of it can be joined with. Empty for
    /// an item that no analysis has filled.
    std::vector<std::shared_ptr<IHVDownloadFormat>> AllFormats() const;
    /// The format that fulfils the wish best, by the tool's own order. Unlike the first format of the list it
    /// has the original's sound, is never joined by transcoding (a sound that can be copied is taken where it
    /// is nearly as large; else the file becomes an mkv), and is silent only where nothing has sound. It may
    /// be one that the list does not hold: see ChooseFormat. Empty when nothing is within the limits or in
    /// the language.
    std::shared_ptr<IHVDownloadFormat> BestFormat(HVFormatWish const& wish = {}) const;
    /// The format of this code, of the list or of AllFormats, also "VIDEO+AUDIO" of any two of the latter;
    /// empty when there is none.
    std::shared_ptr<IHVDownloadFormat> FormatWithCode(std::string const& code) const;
    /// Chooses that format as SetCurrentFormatIndex does; one that the list does not hold is appended to it.
    void ChooseFormat(std::shared_ptr<IHVDownloadFormat> const& format);
    ///@{
    /// The subtitles that people made, by name; those of the list are the machine's.
    int GetAuthoredSubtitlesCount() const;
    /// Empty when out of range.
    std::shared_ptr<IHVDownloadSubtitle> GetAuthoredSubtitleAtIndex(int index) const;
    ///@}
    ///@{
    /// The subtitles that a download fetches, each in its current file format, in place of the one that
    /// SetCurrentSubtitleIndex chooses; empty for that one again. Several formats of them are a wish: the
    /// tool takes for each language the first on offer. Where people and the machine made one in the same
    /// language, and subtitles of both kinds are chosen, the people's is fetched.
    void SetChosenSubtitles(std::vector<std::shared_ptr<IHVDownloadSubtitle>> subtitles);
    std::vector<std::shared_ptr<IHVDownloadSubtitle>> ChosenSubtitles() const;
    ///@}
    /// Paths of the subtitle files that the last finished download placed beside its file. From any thread at
    /// any time.
    std::vector<std::string> DownloadedSubtitles() const;
    /// The same of the metadata that was asked for: see IHVDownloadController::SetMetadataFiles.
    std::vector<std::string> DownloadedMetadata() const;
    /// Paths of all files that the last finished download placed: one, or several where a conversion makes
    /// them (parts, chapters), in their order; GetDownloadFile is the first. From any thread at any time.
    std::vector<std::string> DownloadedFiles() const;
    /// What else the tool's document says: who it is on its site, uploader, date, chapters. Never empty; its
    /// values stay as they are, but a later SetPlayList makes others.
    std::shared_ptr<HVItemDetails const> Details() const;
    /// The tool's own JSON document of the item. Empty unless the analysis was asked for it, see
    /// IHVDownloadTask::SetKeepDocuments: it takes 0.1 to 1 MB.
    std::string DocumentText() const;

protected:
    ~IHVDownloadItem() = default;
};

} // namespace Halvorn

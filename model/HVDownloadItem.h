#pragma once
// See IHVDownloadItem for threads and ownership.

#include "HVItemIdentity.h"
#include "HVStableText.h"
#include "IHVDownloadItem.h"

#include <cstdint>
#include <mutex>
#include <utility>

namespace Halvorn {

class HVKeptDocument;

/// The file name of an item that has none yet.
inline constexpr char kUnknownName[] = "unknown";

class HVDownloadItem final : public IHVDownloadItem {
public:
    explicit HVDownloadItem(std::string const& url);
    HVDownloadItem(std::vector<std::shared_ptr<IHVDownloadFormat>> const& formats, std::string const& url);

    void AddDownloadFormat(std::shared_ptr<IHVDownloadFormat> format) override;
    void AddDownloadFormat(std::vector<std::shared_ptr<IHVDownloadFormat>> const& formats) override;
    int GetDownloadFormatCount() const override { return static_cast<int>(formats_.size()); }
    std::shared_ptr<IHVDownloadFormat> GetDownloadFormatAtIndex(int index) const override;
    int GetCurrentFormatIndex() const override { return currentFormatIndex_; }
    void SetCurrentFormatIndex(int index) override;
    std::string const& DownloadURL() const override { return downloadURL_; }
    void SetFileName(std::string const& name) override;
    std::string const& GetFileName() const override { return fileName_.Get(); }
    void SetDuration(int seconds) override;
    void SetDuration(std::string const& text) override;
    std::string const& GetDurationString() const override { return durationString_; }
    int GetDurationSeconds() const override { return durationSeconds_; }
    std::string const& DurationText() const { return durationText_; }
    std::shared_ptr<IHVDownloadThumbnail> GetThumbnail() const override { return thumbnail_; }
    void SetThumbnail(std::shared_ptr<IHVDownloadThumbnail> thumbnail) override;
    bool IsLiveStream() const override { return liveStream_; }
    void SetLiveStream(bool liveStream) override { liveStream_ = liveStream; }
    LiveStreamPos GetLiveStreamDownloadPos() const override { return liveStreamDownloadPos_; }
    void SetLiveStreamDownloadPos(LiveStreamPos pos) override { liveStreamDownloadPos_ = pos; }
    void AddDownloadSubtitle(std::shared_ptr<IHVDownloadSubtitle> subtitle) override;
    void AddDownloadSubtitles(std::vector<std::shared_ptr<IHVDownloadSubtitle>> const& subtitles) override;
    int GetDownloadSubtitlesCount() const override { return static_cast<int>(subtitles_.size()); }
    std::shared_ptr<IHVDownloadSubtitle const> GetDownloadSubtitleAtIndex(int index) const override;
    std::shared_ptr<IHVDownloadSubtitle const> CurrentDownloadSubtitle() const override;
    std::shared_ptr<IHVDownloadSubtitle> GetDownloadSubtitleAtIndex(int index) override;
    std::shared_ptr<IHVDownloadSubtitle> CurrentDownloadSubtitle() override;
    int GetCurrentSubtitleIndex() const override { return currentSubtitleIndex_; }
    void SetCurrentSubtitleIndex(int index) override { currentSubtitleIndex_ = index; }
    void SetDownloadedFile(std::string const& path) override { downloadedFile_.Set(path); }
    void ResetDownload() override { downloadedFile_.Set({}); }
    std::string const& GetDownloadFile() const override { return downloadedFile_.Get(); }
    void SetPlayList(std::shared_ptr<IHVPlayList> playList, int index) override;
    int GetEntryIndexOfPlayList() const override { return entryIndex_; }
    std::shared_ptr<IHVPlayList> GetPlayList() const override { return playList_.lock(); }
    std::string GetPlaylistURL() const override { return playlistURL_; }

    /// A copy that later choices on this item don't reach: what a download is made from. The formats are
    /// shared, since nobody changes them, and nothing was downloaded to it yet.
    std::shared_ptr<HVDownloadItem> CopyForRun() const;
    /// Takes what an analysis has found out about the same item. Its address, its place in a list, its
    /// chosen subtitles and its name stay; where it has no name yet, it gets that of `found`.
    void TakeAnalysis(HVDownloadItem const& found);
    /// Takes the entry's place in a list that is not there any more.
    void KeepEntry(std::string listURL, int index, int listLength);
    /// All that the tool lists, the best last.
    void TakeAllFormats(std::vector<std::shared_ptr<IHVDownloadFormat>> formats);
    std::vector<std::shared_ptr<IHVDownloadFormat>> const& EveryFormat() const { return allFormats_; }
    /// Appends a format and leaves the choice as it is.
    void AppendFormat(std::shared_ptr<IHVDownloadFormat> format);
    /// Subtitles made by people, and what a download fetches in place of the current one.
    using Subtitles = std::vector<std::shared_ptr<IHVDownloadSubtitle>>;
    void TakeAuthored(Subtitles subtitles) { authored_ = std::move(subtitles); }
    Subtitles const& Authored() const { return authored_; }
    void TakeChosen(Subtitles subtitles) { chosen_ = std::move(subtitles); }
    Subtitles const& Chosen() const { return chosen_; }
    void SetSideFiles(std::vector<std::string> paths);
    std::vector<std::string> SideFiles() const;
    /// See IHVDownloadItem::DownloadedFiles.
    void SetFiles(std::vector<std::string> paths);
    std::vector<std::string> Files() const;
    void SetMetadataPaths(std::vector<std::string> paths);
    std::vector<std::string> MetadataPaths() const;
    /// What the tool's document says besides; `text` is the document itself, empty where it is not kept.
    void TakeDetails(HVItemDetails details, std::string text);
    std::shared_ptr<HVItemDetails const> const& ItemDetails() const { return details_; }
    std::string const& JsonText() const { return jsonText_; }
    /// Who it is for an archive; empty where the document does not tell.
    HVItemIdentity const& Identity() const { return identity_; }
    void TakeIdentity(HVItemIdentity identity) { identity_ = std::move(identity); }
    /// How many entries the list has that the item was loaded from; 0 where that is not known.
    int ListLength() const { return listLength_; }
    /// What a download may be made from instead of the address; may be empty.
    void TakeDocument(std::shared_ptr<HVKeptDocument const> document) { document_ = std::move(document); }
    std::shared_ptr<HVKeptDocument const> const& Document() const { return document_; }

    /// "hh:mm:ss", with more digits of hours where needed.
    static std::string FormatSeconds(int seconds);

private:
    std::int32_t currentFormatIndex_ = -1;
    std::int32_t currentSubtitleIndex_ = -1;
    std::vector<std::shared_ptr<IHVDownloadFormat>> formats_;
    std::vector<std::shared_ptr<IHVDownloadFormat>> allFormats_;
    Subtitles authored_;
    Subtitles chosen_;
    mutable std::mutex sideFilesMutex_;
    std::vector<std::string> files_;
    std::vector<std::string> sideFiles_; ///< of subtitles
    std::vector<std::string> metadataFiles_;
    std::vector<std::shared_ptr<IHVDownloadSubtitle>> subtitles_;
    std::string downloadURL_;
    HVStableText fileName_{kUnknownName};
    /// The tool's own text; GetDurationString() is computed from the seconds.
    std::string durationText_ = "00:00:00";
    std::string durationString_ = "00:00:00";
    std::int32_t durationSeconds_ = 0;
    std::shared_ptr<IHVDownloadThumbnail> thumbnail_;
    HVStableText downloadedFile_;
    bool liveStream_ = false;
    LiveStreamPos liveStreamDownloadPos_ = LiveStreamFromNow;
    std::int32_t entryIndex_ = -1;
    std::int32_t listLength_ = 0;
    std::string playlistURL_;
    std::weak_ptr<IHVPlayList> playList_;
    std::shared_ptr<HVItemDetails const> details_ = std::make_shared<HVItemDetails>();
    HVItemIdentity identity_;
    std::string jsonText_;
    std::shared_ptr<HVKeptDocument const> document_;
};

} // namespace Halvorn

#include "HVDownloadItem.h"

#include "HVDownloadSubtitle.h"
#include "HVJsonObjectPlayItem.h"
#include "HVModelList.h"
#include "IHVLogConfig.h"
#include "IHVPlayList.h"

#include <algorithm>

namespace Halvorn {

std::shared_ptr<IHVDownloadItem> IHVDownloadItem::MallocDownloadItem(std::string const& url) {
    return std::make_shared<HVDownloadItem>(url);
}

std::shared_ptr<IHVDownloadItem>
IHVDownloadItem::MallocDownloadItem(std::vector<std::shared_ptr<IHVDownloadFormat>> const& formats,
                                    std::string const& url) {
    return std::make_shared<HVDownloadItem>(formats, url);
}

int IHVDownloadItem::KnownDurationSeconds(IHVDownloadItem const& item) {
    int const seconds = item.GetDurationSeconds();
    auto const* const concrete = dynamic_cast<HVDownloadItem const*>(&item);
    return seconds != 0 || concrete == nullptr ? seconds : SecondsOfText(concrete->DurationText());
}

bool IHVDownloadItem::Valid() const {
    return GetDownloadFormatCount() > 0;
}

bool IHVDownloadItem::IsPlayListItem() const {
    return GetEntryIndexOfPlayList() >= 0 && GetPlayList() != nullptr;
}

std::shared_ptr<IHVDownloadFormat> IHVDownloadItem::GetCurrentDownloadFormat() const {
    return Valid() ? GetDownloadFormatAtIndex(GetCurrentFormatIndex()) : nullptr;
}

std::string IHVDownloadItem::CurrentExtension() const {
    std::shared_ptr<IHVDownloadFormat> const format = GetCurrentDownloadFormat();
    return format == nullptr ? std::string() : format->Extension();
}

void HVDownloadItem::TakeAllFormats(std::vector<std::shared_ptr<IHVDownloadFormat>> formats) {
    allFormats_ = std::move(formats);
}

void HVDownloadItem::SetSideFiles(std::vector<std::string> paths) {
    std::lock_guard const lock(sideFilesMutex_);
    sideFiles_.swap(paths);
}

std::vector<std::string> HVDownloadItem::SideFiles() const {
    std::lock_guard const lock(sideFilesMutex_);
    return sideFiles_;
}

void HVDownloadItem::SetMetadataPaths(std::vector<std::string> paths) {
    std::lock_guard const lock(sideFilesMutex_);
    metadataFiles_.swap(paths);
}

std::vector<std::string> HVDownloadItem::MetadataPaths() const {
    std::lock_guard const lock(sideFilesMutex_);
    return metadataFiles_;
}

void HVDownloadItem::SetFiles(std::vector<std::string> paths) {
    std::lock_guard const lock(sideFilesMutex_);
    files_.swap(paths);
}

std::vector<std::string> HVDownloadItem::Files() const {
    std::lock_guard const lock(sideFilesMutex_);
    return files_;
}

void HVDownloadItem::AppendFormat(std::shared_ptr<IHVDownloadFormat> format) {
    formats_.push_back(std::move(format));
}

HVDownloadItem::HVDownloadItem(std::string const& url) : downloadURL_(url) {}

HVDownloadItem::HVDownloadItem(std::vector<std::shared_ptr<IHVDownloadFormat>> const& formats,
                               std::string const& url)
    : downloadURL_(url) {
    AppendElements(formats_, formats);
    currentFormatIndex_ = formats_.empty() ? -1 : 0;
}

void HVDownloadItem::AddDownloadFormat(std::shared_ptr<IHVDownloadFormat> format) {
    if (format == nullptr)
        return;
    formats_.push_back(std::move(format));
    currentFormatIndex_ = 0;
}

void HVDownloadItem::AddDownloadFormat(std::vector<std::shared_ptr<IHVDownloadFormat>> const& formats) {
    AppendElements(formats_, formats);
    currentFormatIndex_ = 0;
}

std::shared_ptr<IHVDownloadFormat> HVDownloadItem::GetDownloadFormatAtIndex(int index) const {
    return ElementAt(formats_, index);
}

void HVDownloadItem::SetCurrentFormatIndex(int index) {
    if (index == currentFormatIndex_)
        return;
    if (index < 0 || index >= GetDownloadFormatCount()) {
        IHVLogConfig::Printf("Index %d is out of download format range(0 - %d)\n", index,
                             GetDownloadFormatCount());
        return;
    }
    currentFormatIndex_ = index;
    // A file that was downloaded in another format does not count.
    SetDownloadedFile({});
}

void HVDownloadItem::SetFileName(std::string const& name) {
    if (!name.empty())
        fileName_.Set(name);
}

void HVDownloadItem::SetDuration(int seconds) {
    durationSeconds_ = seconds;
    durationString_ = FormatSeconds(seconds);
}

void HVDownloadItem::SetDuration(std::string const& text) {
    if (!text.empty())
        durationText_ = text;
}

void HVDownloadItem::SetThumbnail(std::shared_ptr<IHVDownloadThumbnail> thumbnail) {
    thumbnail_ = std::move(thumbnail);
}

void HVDownloadItem::AddDownloadSubtitle(std::shared_ptr<IHVDownloadSubtitle> subtitle) {
    AppendElement(subtitles_, std::move(subtitle));
}

void HVDownloadItem::AddDownloadSubtitles(
    std::vector<std::shared_ptr<IHVDownloadSubtitle>> const& subtitles) {
    AppendElements(subtitles_, subtitles);
}

std::shared_ptr<IHVDownloadSubtitle const> HVDownloadItem::GetDownloadSubtitleAtIndex(int index) const {
    return ElementAt(subtitles_, index);
}

std::shared_ptr<IHVDownloadSubtitle const> HVDownloadItem::CurrentDownloadSubtitle() const {
    return ElementAt(subtitles_, currentSubtitleIndex_);
}

std::shared_ptr<IHVDownloadSubtitle> HVDownloadItem::GetDownloadSubtitleAtIndex(int index) {
    return ElementAt(subtitles_, index);
}

std::shared_ptr<IHVDownloadSubtitle> HVDownloadItem::CurrentDownloadSubtitle() {
    return ElementAt(subtitles_, currentSubtitleIndex_);
}

std::shared_ptr<HVItemDetails const> IHVDownloadItem::Details() const {
    auto const* const concrete = dynamic_cast<HVDownloadItem const*>(this);
    return concrete == nullptr ? std::make_shared<HVItemDetails const>() : concrete->ItemDetails();
}

std::string IHVDownloadItem::DocumentText() const {
    auto const* const concrete = dynamic_cast<HVDownloadItem const*>(this);
    return concrete == nullptr ? std::string() : concrete->JsonText();
}

void HVDownloadItem::TakeDetails(HVItemDetails details, std::string text) {
    details_ = std::make_shared<HVItemDetails const>(std::move(details));
    jsonText_ = std::move(text);
}

void HVDownloadItem::SetPlayList(std::shared_ptr<IHVPlayList> playList, int index) {
    if (playList == nullptr)
        return;
    playList_ = playList;
    entryIndex_ = index;
    // Kept as a copy: an item outlives its playlist.
    playlistURL_ = playList->GetPlaylistURL();
    listLength_ = std::max(playList->EntryCount(), playList->GetDownloadItemCount());
    // An entry that was loaded by its own address has a document that knows of no list.
    auto details = *details_;
    details.playlistTitle = playList->GetTitle();
    details.playlistPosition = index + 1;
    details_ = std::make_shared<HVItemDetails const>(std::move(details));
}

void HVDownloadItem::KeepEntry(std::string listURL, int index, int listLength) {
    listLength_ = listLength;
    playlistURL_ = std::move(listURL);
    entryIndex_ = index;
}

std::shared_ptr<HVDownloadItem> HVDownloadItem::CopyForRun() const {
    auto copy = std::make_shared<HVDownloadItem>(formats_, downloadURL_);
    copy->currentFormatIndex_ = currentFormatIndex_;
    copy->currentSubtitleIndex_ = currentSubtitleIndex_;
    copy->subtitles_ = subtitles_;
    // The chosen file format is kept in the subtitle itself.
    copy->chosen_ = chosen_;
    for (auto* const subtitles : {&copy->subtitles_, &copy->chosen_})
        for (auto& subtitle : *subtitles)
            if (auto const* const own = dynamic_cast<HVDownloadSubtitle const*>(subtitle.get()))
                subtitle = std::make_shared<HVDownloadSubtitle>(*own);
    copy->authored_ = authored_;
    copy->fileName_.Set(GetFileName());
    copy->durationText_ = durationText_;
    copy->durationString_ = durationString_;
    copy->durationSeconds_ = durationSeconds_;
    copy->thumbnail_ = thumbnail_;
    copy->allFormats_ = allFormats_;
    copy->details_ = details_;
    copy->identity_ = identity_;
    copy->document_ = document_;
    copy->liveStream_ = liveStream_;
    copy->liveStreamDownloadPos_ = liveStreamDownloadPos_;
    copy->entryIndex_ = entryIndex_;
    copy->listLength_ = listLength_;
    copy->playlistURL_ = playlistURL_;
    copy->playList_ = playList_;
    return copy;
}

void HVDownloadItem::TakeAnalysis(HVDownloadItem const& found) {
    if (GetFileName() == kUnknownName)
        SetFileName(found.GetFileName());
    formats_ = found.formats_;
    currentFormatIndex_ = found.currentFormatIndex_;
    allFormats_ = found.allFormats_;
    authored_ = found.authored_;
    durationText_ = found.durationText_;
    durationString_ = found.durationString_;
    durationSeconds_ = found.durationSeconds_;
    thumbnail_ = found.thumbnail_;
    liveStream_ = found.liveStream_;
    // By its own address it is found without its list.
    auto details = *found.details_;
    if (details.playlistTitle.empty()) {
        details.playlistTitle = details_->playlistTitle;
        details.playlistPosition = details_->playlistPosition;
    }
    details_ = std::make_shared<HVItemDetails const>(std::move(details));
    auto identity = found.identity_;
    for (auto const& own : identity_.own)
        identity.AddOwn(own);
    identity_ = std::move(identity);
    document_ = found.document_;
}

std::string HVDownloadItem::FormatSeconds(int seconds) {
    auto twoDigits = [](int number) { return (number < 10 ? "0" : "") + std::to_string(number); };
    return twoDigits(seconds / 3600) + ":" + twoDigits(seconds % 3600 / 60) + ":" + twoDigits(seconds % 60);
}

} // namespace Halvorn

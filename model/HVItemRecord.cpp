#include "HVItemRecord.h"

#include "HVDownloadFormat.h"
#include "HVDownloadItem.h"
#include "HVDownloadSubtitle.h"
#include "HVFields.h"
#include "HVMergeDownloadFormat.h"

namespace Halvorn {

namespace {

std::string FormatRecord(IHVDownloadFormat const& format) {
    HVFields fields;
    if (auto const* const merged = dynamic_cast<HVMergeDownloadFormat const*>(&format)) {
        fields.SetText("picture", merged->Picture() == nullptr ? "" : FormatRecord(*merged->Picture()));
        fields.SetText("sound", merged->Sound() == nullptr ? "" : FormatRecord(*merged->Sound()));
        fields.SetInteger("mkv", merged->ForcesMKV() ? 1 : 0);
    } else {
        HVDownloadFormat(&format).Write(fields);
    }
    return fields.Text();
}

std::shared_ptr<IHVDownloadFormat> FormatOfRecord(std::string const& record) {
    if (record.empty())
        return nullptr;
    HVFields const fields(record);
    auto const picture = FormatOfRecord(fields.Get("picture"));
    auto const sound = FormatOfRecord(fields.Get("sound"));
    if (picture != nullptr || sound != nullptr)
        return std::make_shared<HVMergeDownloadFormat>(picture, sound, fields.Flag("mkv"));
    auto format = std::make_shared<HVDownloadFormat>();
    format->Read(fields);
    return format;
}

std::string SubtitleRecord(IHVDownloadSubtitle const& subtitle) {
    HVFields fields;
    fields.SetText("language", subtitle.GetLanguageCode());
    fields.SetText("name", subtitle.GetLanguageName());
    fields.SetText("format", subtitle.GetCurrentSubtitleFormat());
    fields.SetInteger("people", subtitle.MadeByPeople() ? 1 : 0);
    return fields.Text();
}

std::shared_ptr<IHVDownloadSubtitle> SubtitleOfRecord(std::string const& record) {
    HVFields const fields(record);
    return HVDownloadSubtitle::Kept(fields.Get("language"), fields.Get("name"), fields.Get("format"),
                                    fields.Flag("people"));
}

void WriteDetails(HVFields& fields, HVItemDetails const& details) {
    fields.SetText("site", details.extractor);
    fields.SetText("id", details.id);
    fields.SetText("page", details.webpageURL);
    fields.SetText("uploader", details.uploader);
    fields.SetText("date", details.uploadDate);
    fields.SetText("list title", details.playlistTitle);
    fields.SetInteger("list place", details.playlistPosition);
}

HVItemDetails ReadDetails(HVFields const& fields) {
    HVItemDetails details;
    details.extractor = fields.Get("site");
    details.id = fields.Get("id");
    details.webpageURL = fields.Get("page");
    details.uploader = fields.Get("uploader");
    details.uploadDate = fields.Get("date");
    details.playlistTitle = fields.Get("list title");
    details.playlistPosition = fields.Int("list place");
    return details;
}

} // namespace

std::string ItemRecord(IHVDownloadItem const& item) {
    HVFields fields;
    fields.SetText("address", item.DownloadURL());
    fields.SetText("list", item.GetPlaylistURL());
    fields.SetInteger("entry", item.GetEntryIndexOfPlayList() + 1);
    fields.SetInteger("seconds", item.GetDurationSeconds());
    if (auto const* const own = dynamic_cast<HVDownloadItem const*>(&item)) {
        fields.SetText("duration", own->DurationText());
        fields.SetInteger("list length", own->ListLength());
    }
    fields.SetInteger("live", item.IsLiveStream() ? 1 : 0);
    fields.SetInteger("from now", item.GetLiveStreamDownloadPos());
    WriteDetails(fields, *item.Details());
    if (auto const format = item.GetCurrentDownloadFormat())
        fields.SetText("format", FormatRecord(*format));
    if (auto const subtitle = item.CurrentDownloadSubtitle())
        fields.SetText("subtitle", SubtitleRecord(*subtitle));
    int number = 0;
    for (auto const& subtitle : item.ChosenSubtitles())
        fields.SetText("chosen " + std::to_string(++number), SubtitleRecord(*subtitle));
    return fields.Text();
}

std::shared_ptr<IHVDownloadItem> ItemOfRecord(std::string_view record, std::string const& name) {
    HVFields const fields(record);
    auto item = std::make_shared<HVDownloadItem>(fields.Get("address"));
    item->SetFileName(name);
    item->KeepEntry(fields.Get("list"), fields.Int("entry") - 1, fields.Int("list length"));
    item->SetDuration(fields.Int("seconds"));
    item->SetDuration(fields.Get("duration"));
    item->SetLiveStream(fields.Flag("live"));
    item->SetLiveStreamDownloadPos(fields.Flag("from now") ? IHVDownloadItem::LiveStreamFromNow
                                                           : IHVDownloadItem::LiveStreamFromStart);
    item->TakeDetails(ReadDetails(fields), {});
    if (auto format = FormatOfRecord(fields.Get("format")))
        item->AddDownloadFormat(std::move(format));
    if (auto const subtitle = fields.Get("subtitle"); !subtitle.empty()) {
        item->AddDownloadSubtitle(SubtitleOfRecord(subtitle));
        item->SetCurrentSubtitleIndex(0);
    }
    HVDownloadItem::Subtitles chosen;
    for (int number = 1;; ++number) {
        auto const subtitle = fields.Get("chosen " + std::to_string(number));
        if (subtitle.empty())
            break;
        chosen.push_back(SubtitleOfRecord(subtitle));
    }
    item->TakeChosen(std::move(chosen));
    return item;
}

} // namespace Halvorn

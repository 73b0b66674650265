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

std::shared_ptr<IHVDownloadFormat> PlainFormat(std::string const& record) {
    if (record.empty())
        return nullptr;
    auto format = std::make_shared<HVDownloadFormat>();
    format->Read(HVFields(record));
    return format;
}

/// The halves of a merged format are plain ones: records in records without an end would fill the stack.
std::shared_ptr<IHVDownloadFormat> FormatOfRecord(std::string const& record) {
    HVFields const fields(record);
    auto const picture = PlainFormat(fields.Get("picture"));
    auto const sound = PlainFormat(fields.Get("sound"));
    if (picture != nullptr || sound != nullptr)
        return std::make_shared<HVMergeDownloadFormat>(picture, sound, fields.Flag("mkv"));
    return PlainFormat(record);
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

void WriteTexts(HVFields& fields, std::string const& name, std::vector<std::string> const& texts) {
    int number = 0;
    for (auto const& text : texts)
        fields.SetText(name + std::to_string(++number), text);
}

/// Ends at the first one that is empty, which none is that was written.
std::vector<std::string> ReadTexts(HVFields const& fields, std::string const& name) {
    std::vector<std::string> texts;
    for (int number = 1;; ++number) {
        auto text = fields.Get(name + std::to_string(number));
        if (text.empty())
            return texts;
        texts.push_back(std::move(text));
    }
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
        WriteTexts(fields, "identity ", own->Identity().own);
        WriteTexts(fields, "former identity ", own->Identity().former);
    }
    fields.SetInteger("live", item.IsLiveStream() ? 1 : 0);
    fields.SetInteger("from now", item.GetLiveStreamDownloadPos());
    WriteDetails(fields, *item.Details());
    if (auto const format = item.GetCurrentDownloadFormat())
        fields.SetText("format", FormatRecord(*format));
    if (auto const subtitle = item.CurrentDownloadSubtitle())
        fields.SetText("subtitle", SubtitleRecord(*subtitle));
    std::vector<std::string> chosen;
    for (auto const& subtitle : item.ChosenSubtitles())
        chosen.push_back(SubtitleRecord(*subtitle));
    WriteTexts(fields, "chosen ", chosen);
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
    item->TakeIdentity({ReadTexts(fields, "identity "), ReadTexts(fields, "former identity ")});
    if (auto format = FormatOfRecord(fields.Get("format")))
        item->AddDownloadFormat(std::move(format));
    if (auto const subtitle = fields.Get("subtitle"); !subtitle.empty()) {
        item->AddDownloadSubtitle(SubtitleOfRecord(subtitle));
        item->SetCurrentSubtitleIndex(0);
    }
    HVDownloadItem::Subtitles chosen;
    for (auto const& subtitle : ReadTexts(fields, "chosen "))
        chosen.push_back(SubtitleOfRecord(subtitle));
    item->TakeChosen(std::move(chosen));
    return item;
}

} // namespace Halvorn

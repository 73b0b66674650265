#include "HVJsonText.h"

#include "HVItemText.h"

#include <Reelhaul/HVDisplayText.h>

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <type_traits>

namespace Halvorn {

namespace {

using Document = rapidjson::PrettyWriter<rapidjson::StringBuffer>;

template <typename Writer>
void Text(Writer& writer, std::string const& text) {
    std::string const valid = ValidText(text);
    writer.String(valid.data(), static_cast<rapidjson::SizeType>(valid.size()));
}

template <typename Writer>
void Texts(Writer& writer, std::vector<std::string> const& texts) {
    writer.StartArray();
    for (std::string const& text : texts)
        Text(writer, text);
    writer.EndArray();
}

template <typename Writer>
void Field(Writer& writer, char const* key, std::string const& text) {
    writer.Key(key);
    Text(writer, text);
}

template <typename Writer>
void Field(Writer& writer, char const* key, int number) {
    writer.Key(key);
    writer.Int(number);
}

void Flag(Document& writer, char const* key, bool value) {
    writer.Key(key);
    writer.Bool(value);
}

template <typename Writer>
void Rounded(Writer& writer, double number) {
    constexpr double kThousandths = 1000;
    writer.Double(std::isfinite(number) ? std::round(number * kThousandths) / kThousandths : 0);
}

void WriteFormat(Document& writer, IHVDownloadFormat const& format, int index) {
    writer.StartObject();
    if (index >= 0)
        Field(writer, "index", index);
    Field(writer, "code", format.FormatCode());
    Field(writer, "extension", format.Extension());
    Field(writer, "description", format.Description());
    Field(writer, "resolution", format.Resolution());
    Field(writer, "width", format.Width());
    Field(writer, "height", format.Height());
    writer.Key("fps");
    Rounded(writer, static_cast<double>(format.FramePerSecond()));
    writer.Key("size");
    writer.Uint64(format.Size());
    Field(writer, "language", format.GetAudioLanguage());
    Field(writer, "protocol", format.Proto());
    Flag(writer, "audio_only", format.AudioOnly());
    Flag(writer, "video_only", format.VideoOnly());
    Flag(writer, "merged", format.MergeFormat());
    writer.EndObject();
}

void WriteSubtitle(Document& writer, IHVDownloadSubtitle const& subtitle) {
    writer.StartObject();
    Field(writer, "code", subtitle.GetLanguageCode());
    Field(writer, "name", subtitle.GetLanguageName());
    writer.Key("formats");
    Texts(writer, subtitle.GetSubtitleFormats());
    writer.EndObject();
}

void WriteThumbnail(Document& writer, IHVDownloadThumbnail const* thumbnail) {
    writer.Key("thumbnail");
    if (thumbnail == nullptr) {
        writer.Null();
        return;
    }
    writer.StartObject();
    Field(writer, "url", thumbnail->GetDownloadURL());
    Field(writer, "width", thumbnail->GetWidth());
    Field(writer, "height", thumbnail->GetHeight());
    writer.EndObject();
}

void WriteDetails(Document& writer, HVItemDetails const& details) {
    Field(writer, "extractor", details.extractor);
    Field(writer, "id", details.id);
    Field(writer, "webpage_url", details.webpageURL);
    Field(writer, "uploader", details.uploader);
    Field(writer, "upload_date", details.uploadDate);
    Field(writer, "description", details.description);
    Field(writer, "playlist_title", details.playlistTitle);
    Field(writer, "playlist_position", details.playlistPosition);
    writer.Key("chapters");
    writer.StartArray();
    for (HVChapter const& chapter : details.chapters) {
        writer.StartObject();
        writer.Key("start");
        Rounded(writer, chapter.start);
        writer.Key("end");
        Rounded(writer, chapter.end);
        Field(writer, "title", chapter.title);
        writer.EndObject();
    }
    writer.EndArray();
}

void WriteItem(Document& writer, IHVDownloadItem const& item, bool allFormats) {
    writer.StartObject();
    Field(writer, "kind", "item");
    Field(writer, "title", item.GetFileName());
    Field(writer, "url", item.DownloadURL());
    Field(writer, "duration_seconds", IHVDownloadItem::KnownDurationSeconds(item));
    Field(writer, "duration", ClockText(item));
    Flag(writer, "live", item.IsLiveStream());
    Field(writer, "file_name", item.GetFileName());
    WriteDetails(writer, *item.Details());
    writer.Key("formats");
    writer.StartArray();
    for (int const index : ShownFormats(item))
        WriteFormat(writer, *item.GetDownloadFormatAtIndex(index), index);
    writer.EndArray();
    auto const best = item.BestFormat();
    Field(writer, "best", best == nullptr ? std::string() : best->FormatCode());
    if (allFormats) {
        writer.Key("all_formats");
        writer.StartArray();
        auto const formats = item.AllFormats();
        for (auto format = formats.rbegin(); format != formats.rend(); ++format)
            WriteFormat(writer, **format, -1);
        writer.EndArray();
    }
    writer.Key("subtitles");
    writer.StartArray();
    for (int i = 0; i < item.GetDownloadSubtitlesCount(); ++i)
        WriteSubtitle(writer, *item.GetDownloadSubtitleAtIndex(i));
    writer.EndArray();
    writer.Key("authored_subtitles");
    writer.StartArray();
    for (int i = 0; i < item.GetAuthoredSubtitlesCount(); ++i)
        WriteSubtitle(writer, *item.GetAuthoredSubtitleAtIndex(i));
    writer.EndArray();
    WriteThumbnail(writer, item.GetThumbnail().get());
    writer.EndObject();
}

/// The lists inside a list, with what is inside them.
void WriteLists(Document& writer, IHVPlayList const& playList) {
    writer.Key("lists");
    writer.StartArray();
    for (auto const& list : playList.Lists()) {
        writer.StartObject();
        Field(writer, "title", list->GetTitle());
        Field(writer, "url", list->GetPlaylistURL());
        Field(writer, "id", list->GetID());
        Field(writer, "items", list->GetDownloadItemCount());
        WriteLists(writer, *list);
        writer.EndObject();
    }
    writer.EndArray();
}

void WriteFailure(Document& writer, IHVDownloadTask::FailedEntry const& entry) {
    writer.StartObject();
    Field(writer, "number", entry.number);
    Field(writer, "url", entry.url);
    Field(writer, "message", entry.error->GetPlainMessage());
    writer.EndObject();
}

/// The document, with those control characters written as escapes that JSON allows to stand as they are: a
/// document may well be read on a terminal. They occur inside of texts only.
std::string Finished(rapidjson::StringBuffer const& buffer) {
    std::string const text(buffer.GetString(), buffer.GetSize());
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        auto const byte = static_cast<unsigned char>(text[i]);
        auto const next = i + 1 < text.size() ? static_cast<unsigned char>(text[i + 1]) : 0U;
        bool const upperControl = byte == 0xC2 && next >= 0x80 && next <= 0x9F;
        if (byte != 0x7F && !upperControl) {
            result += text[i];
            continue;
        }
        std::array<char, 8> escape{};
        std::snprintf(escape.data(), escape.size(), "\\u%04x", upperControl ? next : byte);
        result += escape.data();
        i += upperControl ? 1 : 0;
    }
    return result;
}

} // namespace

std::string ItemDocument(IHVDownloadItem const& item, bool allFormats) {
    rapidjson::StringBuffer buffer;
    Document writer(buffer);
    writer.SetIndent(' ', 2);
    WriteItem(writer, item, allFormats);
    return Finished(buffer);
}

std::string PlayListDocument(IHVPlayList const& playList,
                             std::vector<IHVDownloadTask::FailedEntry> const& failed, bool allFormats) {
    rapidjson::StringBuffer buffer;
    Document writer(buffer);
    writer.SetIndent(' ', 2);
    writer.StartObject();
    Field(writer, "kind", "playlist");
    Field(writer, "title", playList.GetTitle());
    Field(writer, "url", playList.GetPlaylistURL());
    Field(writer, "id", playList.GetID());
    Field(writer, "description", playList.GetDescription());
    WriteThumbnail(writer, playList.GetThumbnail().get());
    writer.Key("items");
    writer.StartArray();
    for (int i = 0; i < playList.GetDownloadItemCount(); ++i)
        WriteItem(writer, *playList.GetDownloadItem(i), allFormats);
    writer.EndArray();
    writer.Key("failed");
    writer.StartArray();
    for (auto const& entry : failed)
        WriteFailure(writer, entry);
    writer.EndArray();
    WriteLists(writer, playList);
    writer.EndObject();
    return Finished(buffer);
}

std::string EntryDocument(HVListEntry const& entry) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    writer.StartObject();
    Field(writer, "kind", std::string(entry.kind == HVListEntry::List ? "list" : "entry"));
    Field(writer, "number", entry.number);
    Field(writer, "title", entry.title);
    Field(writer, "url", entry.url);
    Field(writer, "duration_seconds", entry.durationSeconds);
    Field(writer, "id", entry.id);
    Field(writer, "extractor", entry.extractor);
    Field(writer, "date", entry.date);
    Field(writer, "thumbnail", entry.thumbnailURL);
    Field(writer, "entries", entry.entryCount);
    writer.EndObject();
    return Finished(buffer);
}

std::string EventLine(char const* name, std::vector<HVJsonField> const& fields) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    writer.StartObject();
    writer.Key("event");
    writer.String(name);
    for (auto const& [key, value] : fields) {
        writer.Key(key);
        std::visit(
            [&writer](auto const& content) {
                using Content = std::decay_t<decltype(content)>;
                if constexpr (std::is_same_v<Content, std::string>)
                    Text(writer, content);
                else if constexpr (std::is_same_v<Content, int>)
                    writer.Int(content);
                else if constexpr (std::is_same_v<Content, std::int64_t>)
                    writer.Int64(content);
                else if constexpr (std::is_same_v<Content, std::vector<std::string>>)
                    Texts(writer, content);
                else if constexpr (std::is_same_v<Content, std::uint64_t>)
                    writer.Uint64(content);
                else if constexpr (std::is_same_v<Content, bool>)
                    writer.Bool(content);
                else
                    Rounded(writer, content);
            },
            value);
    }
    writer.EndObject();
    return Finished(buffer);
}

} // namespace Halvorn

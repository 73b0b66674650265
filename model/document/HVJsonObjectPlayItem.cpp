#include "HVJsonObjectPlayItem.h"

#include "IHVStringHelper.h"

#include <limits>
#include <utility>

namespace Halvorn {

namespace {

constexpr char const* kFormatsKey = "formats";
constexpr char const* kCaptionsKey = "automatic_captions";

std::string TwoDigits(int number) {
    return (number < 10 ? "0" : "") + std::to_string(number);
}

} // namespace

int SecondsOfText(std::string const& text) {
    std::vector<std::string> const parts = IHVStringHelper::Split(text, ':');
    if (parts.size() > 3)
        return 0;
    // A site may claim hours that no int of seconds can hold: such a number reads as unknown.
    long long seconds = 0;
    for (std::string const& part : parts)
        seconds = seconds * 60 + (IHVStringHelper::IsNumberString(part) ? std::stoi(part) : 0);
    bool const fits =
        seconds >= std::numeric_limits<int>::min() && seconds <= std::numeric_limits<int>::max();
    return fits ? static_cast<int>(seconds) : 0;
}

HVJsonObjectPlayItem::HVJsonObjectPlayItem(HVJsonNode node) : node_(std::move(node)) {}

std::shared_ptr<HVJsonObjectPlayItem> HVJsonObjectPlayItem::WholeDocument(HVJsonNode node) {
    auto item = std::make_shared<HVJsonObjectPlayItem>(std::move(node));
    item->isFormat_ = item->GetFormatsCount() == 0;
    return item;
}

bool HVJsonObjectPlayItem::LoadFromJsonString(std::string const& text) {
    return LoadFromJsonValue(IHVJsonReader::ReadJsonString(text, nullptr));
}

bool HVJsonObjectPlayItem::LoadFromJsonValue(HVJsonNode node) {
    node_ = std::move(node);
    return GetFormatsCount() != 0;
}

int HVJsonObjectPlayItem::GetFormatsCount() const {
    return isFormat_ ? 1 : ReadArrayCount(node_, kFormatsKey);
}

std::shared_ptr<HVJsonObjectFormat> HVJsonObjectPlayItem::GetFormatJsonObject(int index) const {
    return std::make_shared<HVJsonObjectFormat>(isFormat_ ? node_ : ReadArrayItem(node_, kFormatsKey, index));
}

int HVJsonObjectPlayItem::GetThumbnailCount() const {
    return ReadArrayCount(node_, "thumbnails");
}

std::shared_ptr<HVJsonObjectThumbnail> HVJsonObjectPlayItem::GetThumbnailJsonObject(int index) const {
    return std::make_shared<HVJsonObjectThumbnail>(ReadArrayItem(node_, "thumbnails", index));
}

std::string HVJsonObjectPlayItem::GetFileName() const {
    for (char const* const key : {"fulltitle", "title", "description", "id"}) {
        std::string name = ReadString(node_, key);
        if (!name.empty())
            return name;
    }
    return {};
}

std::vector<std::string> HVJsonObjectPlayItem::GetAuthoredNameVector() const {
    auto const subtitles = ReadMember(node_, "subtitles");
    auto names = subtitles == nullptr ? std::vector<std::string>() : subtitles->GetMemberNames();
    std::erase(names, "live_chat");
    return names;
}

std::shared_ptr<HVJsonObjectSubtitle> HVJsonObjectPlayItem::GetAuthoredJsonObject() const {
    return std::make_shared<HVJsonObjectSubtitle>(ReadMember(node_, "subtitles"));
}

HVItemDetails HVJsonObjectPlayItem::GetDetails() const {
    HVItemDetails details;
    details.extractor = ReadString(node_, "extractor");
    details.id = ReadString(node_, "id");
    details.webpageURL = ReadString(node_, "webpage_url");
    details.uploader = ReadString(node_, "uploader");
    details.uploadDate = ReadString(node_, "upload_date");
    details.description = ReadString(node_, "description");
    details.playlistTitle = ReadString(node_, "playlist_title");
    details.playlistPosition = ReadInt(node_, "playlist_index");
    for (int i = 0; i < ReadArrayCount(node_, "chapters"); ++i) {
        auto const chapter = ReadArrayItem(node_, "chapters", i);
        details.chapters.push_back({static_cast<double>(ReadFloat(chapter, "start_time")),
                                    static_cast<double>(ReadFloat(chapter, "end_time")),
                                    ReadString(chapter, "title")});
    }
    return details;
}

HVItemIdentity HVJsonObjectPlayItem::GetIdentity() const {
    HVItemIdentity identity;
    std::string const key = ReadString(node_, "extractor_key");
    identity.AddOwn(IdentityText(key.empty() ? ReadString(node_, "ie_key") : key, ReadString(node_, "id")));
    constexpr char const* kFormer = "_old_archive_ids";
    for (int i = 0; i < ReadArrayCount(node_, kFormer); ++i) {
        std::string const quoted = IHVJsonReader::JsonText(ReadArrayItem(node_, kFormer, i));
        // An identifier is plain ASCII; one that had to be escaped is not worth a reader of its own.
        if (quoted.size() > 2 && quoted.front() == '"' && quoted.find('\\') == std::string::npos)
            identity.former.push_back(quoted.substr(1, quoted.size() - 2));
    }
    return identity;
}

HVHTTPHeaders HVJsonObjectPlayItem::GetHeaders() const {
    auto headers = ReadHeaders(node_);
    return headers.empty()
               ? ReadHeaders(ReadArrayItem(node_, "formats", ReadArrayCount(node_, "formats") - 1))
               : headers;
}

std::string HVJsonObjectPlayItem::GetText() const {
    return IHVJsonReader::JsonText(node_);
}

std::string HVJsonObjectPlayItem::GetDurationString() const {
    std::string text = ReadString(node_, "duration_string");
    if (!text.empty())
        return text;
    // The first number is the remainder of the hour, not the hours: this text is not FormatSeconds.
    int const rest = SecondsOfNumbers() % 3600;
    return std::to_string(rest) + ":" + TwoDigits(rest / 60) + ":" + TwoDigits(rest % 60);
}

int HVJsonObjectPlayItem::GetDurationSeconds() const {
    int const seconds = SecondsOfNumbers();
    return seconds != 0 ? seconds : SecondsOfText(ReadString(node_, "duration_string"));
}

bool HVJsonObjectPlayItem::IsLiveStream() const {
    return node_ != nullptr && node_->GetValueBool("is_live");
}

std::vector<std::string> HVJsonObjectPlayItem::GetSubtitleNameVector() const {
    HVJsonNode const captions = ReadMember(node_, kCaptionsKey);
    return captions == nullptr ? std::vector<std::string>() : captions->GetMemberNames();
}

int HVJsonObjectPlayItem::GetSubtitleCount(std::string const& name) const {
    return ReadArrayCount(ReadMember(node_, kCaptionsKey), name);
}

std::shared_ptr<HVJsonObjectSubtitle>
HVJsonObjectPlayItem::GetSubtitleJsonObject(std::string const& /*name*/) const {
    return std::make_shared<HVJsonObjectSubtitle>(ReadMember(node_, kCaptionsKey));
}

/// The item's number of seconds, or that of its first format; the text of the duration plays no part.
int HVJsonObjectPlayItem::SecondsOfNumbers() const {
    int const seconds = ReadInt(node_, "duration");
    if (seconds != 0 || GetFormatsCount() < 1)
        return seconds;
    float const ofFormat = ReadFloat(ReadArrayItem(node_, kFormatsKey, 0), "duration");
    constexpr float kLimit = 2147483648.0F;
    return ofFormat > -kLimit && ofFormat < kLimit ? static_cast<int>(ofFormat) : 0;
}

} // namespace Halvorn

#include "HVListDocument.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <initializer_list>
#include <utility>

namespace Halvorn {

namespace {

constexpr char kEntries[] = "entries";
constexpr char kPage[] = "webpage_url";

bool IsType(HVJsonNode const& node, char const* type) {
    return ReadString(node, "_type") == type;
}

std::string FirstOf(HVJsonNode const& node, std::initializer_list<char const*> keys) {
    for (char const* const key : keys)
        if (std::string text = ReadString(node, key); !text.empty())
            return text;
    return {};
}

std::string AddressOfList(HVJsonNode const& list) {
    return FirstOf(list, {kPage, "original_url", "url"});
}

/// The tool puts the best thumbnail last.
std::string ThumbnailOf(HVJsonNode const& entry) {
    int const count = ReadArrayCount(entry, "thumbnails");
    std::string best = ReadString(ReadArrayItem(entry, "thumbnails", count - 1), "url");
    return best.empty() ? ReadString(entry, "thumbnail") : best;
}

/// "YYYYMMDD" of seconds since 1970; empty for none, and for a year that is no year.
std::string DateOfSeconds(std::uint64_t seconds) {
    constexpr std::uint64_t kSecondsOfDay = 86'400;
    constexpr std::uint64_t kLatest = 253'402'300'799; // the end of 9999
    if (seconds == 0 || seconds > kLatest)
        return {};
    std::chrono::sys_days const day{std::chrono::days(static_cast<int>(seconds / kSecondsOfDay))};
    std::chrono::year_month_day const date(day);
    auto const number = static_cast<unsigned>(static_cast<int>(date.year())) * 10000 +
                        static_cast<unsigned>(date.month()) * 100 + static_cast<unsigned>(date.day());
    return std::to_string(number);
}

std::string DateOf(HVJsonNode const& entry) {
    std::string date = FirstOf(entry, {"upload_date", "release_date"});
    return date.empty() && entry != nullptr ? DateOfSeconds(entry->GetValueUInt64("timestamp")) : date;
}

/// A listing of some entries alone names their numbers.
int NumberOf(HVJsonNode const& list, int index) {
    std::string const text = IHVJsonReader::JsonText(ReadArrayItem(list, "requested_entries", index));
    int number = 0;
    auto const [end, fault] = std::from_chars(text.data(), text.data() + text.size(), number);
    return fault == std::errc() && number > 0 ? number : index + 1;
}

} // namespace

bool IsListDocument(HVJsonNode const& document) {
    return IsType(document, "playlist") || IsType(document, "multi_video");
}

bool IsItemDocument(HVJsonNode const& document) {
    if (IsListDocument(document) || IsType(document, "url") || IsType(document, "url_transparent"))
        return false;
    // An entry that the listing only names has an address as well, but no format of its own.
    return ReadArrayCount(document, "formats") > 0 ||
           (!ReadString(document, "url").empty() && !ReadString(document, "format_id").empty());
}

HVListDocument::HVListDocument(HVJsonNode list, std::string address)
    : list_(std::move(list)), address_(address.empty() ? AddressOfList(list_) : std::move(address)) {
    for (int i = 0; i < Count(); ++i)
        ++pages_[ReadString(Node(i), kPage)];
}

int HVListDocument::Count() const {
    return ReadArrayCount(list_, kEntries);
}

int HVListDocument::Total() const {
    return std::max(Count(), ReadInt(list_, "playlist_count"));
}

std::uint64_t HVListDocument::Seconds(int index) const {
    HVJsonNode const node = Node(index);
    return node == nullptr ? 0 : node->GetValueUInt64("timestamp");
}

HVJsonNode HVListDocument::Node(int index) const {
    return ReadArrayItem(list_, kEntries, index);
}

/// The `url` of a whole entry is that of a file. What leads to the entry is its page, unless that is the
/// list's, or that of several entries: such a page leads to all of them.
std::string HVListDocument::PageOfWhole(HVJsonNode const& entry) const {
    std::string page = ReadString(entry, kPage);
    auto const sharing = pages_.find(page);
    bool const own = sharing != pages_.end() && sharing->second == 1 && page != address_ &&
                     page != AddressOfList(list_) && page != ReadString(entry, "playlist_webpage_url");
    return own ? page : std::string();
}

HVListEntry HVListDocument::Entry(int index, int level) const {
    HVJsonNode const node = Node(index);
    HVListEntry entry;
    entry.number = NumberOf(list_, index);
    entry.level = level;
    entry.kind = IsListDocument(node) ? HVListEntry::List : HVListEntry::Item;
    entry.whole = IsItemDocument(node);
    entry.title = ReadString(node, "title");
    entry.url = entry.whole                       ? PageOfWhole(node)
                : entry.kind == HVListEntry::List ? AddressOfList(node)
                                                  : FirstOf(node, {"url", kPage});
    entry.id = ReadString(node, "id");
    entry.extractor = FirstOf(node, {"extractor", "ie_key"});
    entry.thumbnailURL = ThumbnailOf(node);
    entry.date = DateOf(node);
    entry.durationSeconds = std::max(0, ReadInt(node, "duration"));
    entry.entryCount = entry.kind == HVListEntry::List ? ReadArrayCount(node, kEntries) : 0;
    return entry;
}

} // namespace Halvorn

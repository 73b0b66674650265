#include "HVJsonObjectPlayList.h"

#include <utility>

namespace Halvorn {

bool HVJsonObjectPlayList::LoadFromJsonString(std::string const& text) {
    return LoadFromJsonValue(IHVJsonReader::ReadJsonString(text, nullptr));
}

bool HVJsonObjectPlayList::LoadFromJsonValue(HVJsonNode node) {
    node_ = std::move(node);
    return ReadString(node_, "_type") == "playlist";
}

std::string HVJsonObjectPlayList::GetTitle() const {
    return ReadString(node_, "title");
}
std::string HVJsonObjectPlayList::GetDescription() const {
    return ReadString(node_, "description");
}
std::string HVJsonObjectPlayList::GetID() const {
    return ReadString(node_, "id");
}
int HVJsonObjectPlayList::GetThumbnailCount() const {
    return ReadArrayCount(node_, "thumbnails");
}
std::shared_ptr<HVJsonObjectThumbnail> HVJsonObjectPlayList::GetThumbJsonObject(int index) const {
    return std::make_shared<HVJsonObjectThumbnail>(ReadArrayItem(node_, "thumbnails", index));
}
int HVJsonObjectPlayList::GetEntriesCount() const {
    return ReadArrayCount(node_, "entries");
}
std::shared_ptr<HVJsonObjectPlaylistEntry> HVJsonObjectPlayList::GetEntriesJsonObject(int index) const {
    return std::make_shared<HVJsonObjectPlaylistEntry>(ReadArrayItem(node_, "entries", index));
}

} // namespace Halvorn

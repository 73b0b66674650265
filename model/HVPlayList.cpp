#include "HVPlayList.h"

#include "HVJsonObjectPlayList.h"
#include "HVModelList.h"

namespace Halvorn {

std::shared_ptr<IHVPlayList> IHVPlayList::MallocPlayList(std::string const& url) {
    return std::make_shared<HVPlayList>(url);
}

std::shared_ptr<IHVPlayList> IHVPlayList::MallocPlayList(std::string const& url,
                                                         std::shared_ptr<HVJsonObjectPlayList> json) {
    return std::make_shared<HVPlayList>(url, json);
}

std::vector<std::shared_ptr<IHVPlayList>> IHVPlayList::Lists() const {
    auto const* const list = dynamic_cast<HVPlayList const*>(this);
    return list == nullptr ? std::vector<std::shared_ptr<IHVPlayList>>() : list->InnerLists();
}

int IHVPlayList::EntryCount() const {
    auto const* const list = dynamic_cast<HVPlayList const*>(this);
    return list == nullptr ? 0 : list->ListedCount();
}

HVPlayList::HVPlayList(std::string const& url) : playlistURL_(url) {}

HVPlayList::HVPlayList(std::string const& url, std::shared_ptr<HVJsonObjectPlayList> const& json)
    : playlistURL_(url) {
    if (json == nullptr)
        return;
    id_ = json->GetID();
    title_ = json->GetTitle();
    description_ = json->GetDescription();
}

void HVPlayList::SetThumbnail(std::shared_ptr<IHVDownloadThumbnail> thumbnail) {
    thumbnail_ = std::move(thumbnail);
}

std::shared_ptr<IHVDownloadItem> HVPlayList::GetDownloadItem(int index) const {
    return ElementAt(downloadItems_, index);
}

void HVPlayList::AppendDownloadItem(std::shared_ptr<IHVDownloadItem> item) {
    AppendElement(downloadItems_, std::move(item));
}

void HVPlayList::AppendDownloadItems(std::vector<std::shared_ptr<IHVDownloadItem>> items) {
    AppendElements(downloadItems_, items);
}

std::vector<std::shared_ptr<IHVDownloadItem const>> HVPlayList::GetDownloadItems() const {
    return {downloadItems_.begin(), downloadItems_.end()};
}

} // namespace Halvorn

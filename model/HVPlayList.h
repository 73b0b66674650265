#pragma once
// See IHVPlayList for threads and ownership.

#include "IHVPlayList.h"

#include <utility>

namespace Halvorn {

class HVPlayList final : public IHVPlayList {
public:
    explicit HVPlayList(std::string const& url);
    HVPlayList(std::string const& url, std::shared_ptr<HVJsonObjectPlayList> const& json);

    std::shared_ptr<IHVDownloadThumbnail const> GetThumbnail() const override { return thumbnail_; }
    void SetThumbnail(std::shared_ptr<IHVDownloadThumbnail> thumbnail) override;
    std::string GetID() const override { return id_; }
    std::string GetTitle() const override { return title_; }
    std::string GetDescription() const override { return description_; }
    std::string const& GetPlaylistURL() const override { return playlistURL_; }
    int GetDownloadItemCount() const override { return static_cast<int>(downloadItems_.size()); }
    std::shared_ptr<IHVDownloadItem> GetDownloadItem(int index) const override;
    void AppendDownloadItem(std::shared_ptr<IHVDownloadItem> item) override;
    void AppendDownloadItems(std::vector<std::shared_ptr<IHVDownloadItem>> items) override;
    std::vector<std::shared_ptr<IHVDownloadItem>> GetDownloadItems() override { return downloadItems_; }
    std::vector<std::shared_ptr<IHVDownloadItem const>> GetDownloadItems() const override;

    std::vector<std::shared_ptr<IHVPlayList>> const& InnerLists() const { return lists_; }
    int ListedCount() const { return entryCount_; }
    void SetEntryCount(int count) { entryCount_ = count; }
    void AppendList(std::shared_ptr<IHVPlayList> list) { lists_.push_back(std::move(list)); }

private:
    std::vector<std::shared_ptr<IHVDownloadItem>> downloadItems_;
    std::vector<std::shared_ptr<IHVPlayList>> lists_;
    int entryCount_ = 0;
    std::shared_ptr<IHVDownloadThumbnail> thumbnail_;
    std::string playlistURL_;
    std::string id_;
    std::string title_;
    std::string description_;
};

} // namespace Halvorn

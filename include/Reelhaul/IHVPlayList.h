#pragma once
/// \class Halvorn::IHVPlayList
/// The items that one playlist address produced.
///
/// Thread-safety: none of its own. During an analysis the worker still appends items while the delegate gets
/// them one by one: read the list itself once the delegate got it. No operation blocks.
/// Ownership: held by shared pointers; the playlist holds its items.

#include "HVExport.h"
#include "IHVDownloadItem.h"

#include <memory>
#include <string>
#include <vector>

namespace Halvorn {

class HVJsonObjectPlayList;

class HV_EXPORT IHVPlayList {
public:
    /// A playlist without items.
    static std::shared_ptr<IHVPlayList> MallocPlayList(std::string const& url);
    /// The same with identifier, title and description from the tool's document, which may be empty.
    static std::shared_ptr<IHVPlayList> MallocPlayList(std::string const& url,
                                                       std::shared_ptr<HVJsonObjectPlayList> json);

    ///@{
    /// The best thumbnail; empty when there is none.
    virtual std::shared_ptr<IHVDownloadThumbnail const> GetThumbnail() const = 0;
    virtual void SetThumbnail(std::shared_ptr<IHVDownloadThumbnail> thumbnail) = 0;
    ///@}
    ///@{
    /// The site's identifier, title and description; empty when the tool gave none.
    virtual std::string GetID() const = 0;
    virtual std::string GetTitle() const = 0;
    virtual std::string GetDescription() const = 0;
    ///@}
    /// The address that was analysed.
    virtual std::string const& GetPlaylistURL() const = 0;
    /// Number of items, which are those that loaded.
    virtual int GetDownloadItemCount() const = 0;
    /// Empty when out of range.
    virtual std::shared_ptr<IHVDownloadItem> GetDownloadItem(int index) const = 0;
    ///@{
    /// Append at the end. Empty pointers are left out.
    virtual void AppendDownloadItem(std::shared_ptr<IHVDownloadItem> item) = 0;
    virtual void AppendDownloadItems(std::vector<std::shared_ptr<IHVDownloadItem>> items) = 0;
    ///@}
    ///@{
    /// A copy of the list.
    virtual std::vector<std::shared_ptr<IHVDownloadItem>> GetDownloadItems() = 0;
    virtual std::vector<std::shared_ptr<IHVDownloadItem const>> GetDownloadItems() const = 0;
    ///@}

    /// The lists that were found inside this one by a full analysis, such as the tabs of a channel. One that
    /// was not gone into has neither items nor lists: its GetPlaylistURL is what to analyse. The items of
    /// those that were gone into stand in the list that was asked for as well.
    std::vector<std::shared_ptr<IHVPlayList>> Lists() const;
    /// How many entries the list has, loaded or not, as far as a full analysis was told; else 0.
    int EntryCount() const;

protected:
    ~IHVPlayList() = default;
};

} // namespace Halvorn

#pragma once
// The tool's document about a playlist, read-only once loaded; empty values before. Any thread may read.

#include "HVJsonObjectPlaylistEntry.h"
#include "HVJsonObjectThumbnail.h"

namespace Halvorn {

class HVJsonObjectPlayList final {
public:
    /// Parses the text; true when it is a document of "_type" "playlist".
    bool LoadFromJsonString(std::string const& text);
    /// The same for a parsed document, so that one parse serves this and an item. May be empty: false.
    bool LoadFromJsonValue(HVJsonNode node);

    std::string GetTitle() const;
    std::string GetDescription() const;
    std::string GetID() const;
    int GetThumbnailCount() const;
    std::shared_ptr<HVJsonObjectThumbnail> GetThumbJsonObject(int index) const;
    int GetEntriesCount() const;
    std::shared_ptr<HVJsonObjectPlaylistEntry> GetEntriesJsonObject(int index) const;

private:
    HVJsonNode node_;
};

} // namespace Halvorn

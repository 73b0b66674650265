#pragma once
// The tool's document about one item, read-only once loaded; empty values before. Any thread may read.

#include "HVItemDetails.h"
#include "HVItemIdentity.h"
#include "HVJsonObjectFormat.h"
#include "HVJsonObjectSubtitle.h"
#include "HVJsonObjectThumbnail.h"

#include <vector>

namespace Halvorn {

/// Seconds of "s", "m:s" or "h:m:s"; a part that is no number counts nothing; 0 when unknown or beyond an
/// int.
int SecondsOfText(std::string const& text);

class HVJsonObjectPlayItem final {
public:
    HVJsonObjectPlayItem() = default;
    /// Over a playlist's entry that is a whole item.
    explicit HVJsonObjectPlayItem(HVJsonNode node);

    /// Over a document with formats, or with the address of its one file: that is then its one format.
    static std::shared_ptr<HVJsonObjectPlayItem> WholeDocument(HVJsonNode node);

    /// Parses the text; true when it is a document with formats.
    bool LoadFromJsonString(std::string const& text);
    /// The same for a parsed document, so that one parse serves this and a playlist. May be empty: false.
    bool LoadFromJsonValue(HVJsonNode node);

    int GetFormatsCount() const;
    std::shared_ptr<HVJsonObjectFormat> GetFormatJsonObject(int index) const;
    int GetThumbnailCount() const;
    std::shared_ptr<HVJsonObjectThumbnail> GetThumbnailJsonObject(int index) const;
    /// What the tool sends to the site: as the document says, else as its last format does.
    HVHTTPHeaders GetHeaders() const;
    /// The first text of full title, title, description and identifier.
    std::string GetFileName() const;
    /// The tool's own text, else one of the seconds, whose first number is the remainder of the hour.
    std::string GetDurationString() const;
    /// 0 when unknown or beyond an int.
    int GetDurationSeconds() const;
    bool IsLiveStream() const;
    /// The language keys of the automatic captions, in the document's order.
    std::vector<std::string> GetSubtitleNameVector() const;
    int GetSubtitleCount(std::string const& name) const;
    /// All languages, whatever the name.
    std::shared_ptr<HVJsonObjectSubtitle> GetSubtitleJsonObject(std::string const& name) const;

    /// The same for the subtitles that people made. A recorded chat is none.
    std::vector<std::string> GetAuthoredNameVector() const;
    std::shared_ptr<HVJsonObjectSubtitle> GetAuthoredJsonObject() const;
    HVItemDetails GetDetails() const;
    HVItemIdentity GetIdentity() const;
    /// The document itself as JSON.
    std::string GetText() const;
    HVJsonNode const& GetJsonValue() const { return node_; }

private:
    int SecondsOfNumbers() const;

    HVJsonNode node_;
    /// The document stands for its one format.
    bool isFormat_ = false;
};

} // namespace Halvorn

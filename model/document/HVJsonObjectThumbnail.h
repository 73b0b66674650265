#pragma once
// One element of the tool's "thumbnails", read-only; empty values on an empty node. Any thread may read.

#include "HVHTTPTerms.h"
#include "HVJsonRead.h"

namespace Halvorn {

class HVJsonObjectThumbnail final {
public:
    explicit HVJsonObjectThumbnail(HVJsonNode node);

    int GetWidth() const;
    int GetHeight() const;
    std::string GetURL() const;
    std::string GetID() const;
    /// What the tool sends when it asks for it; empty where the document does not say.
    HVHTTPHeaders GetHeaders() const;

private:
    HVJsonNode node_;
};

} // namespace Halvorn

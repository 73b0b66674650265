#pragma once
// One element of a playlist document's "entries", read-only; empty values on an empty node. Any thread may
// read.

#include "HVJsonRead.h"

namespace Halvorn {

class HVJsonObjectPlaylistEntry final {
public:
    explicit HVJsonObjectPlaylistEntry(HVJsonNode node);

    /// Address of the entry; some sites give none.
    std::string GetURL() const;
    /// The node itself, for an entry that is a whole item.
    HVJsonNode GetJsonValue() const;

private:
    HVJsonNode node_;
};

} // namespace Halvorn

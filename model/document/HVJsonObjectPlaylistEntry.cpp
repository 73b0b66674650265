#include "HVJsonObjectPlaylistEntry.h"

#include <utility>

namespace Halvorn {

HVJsonObjectPlaylistEntry::HVJsonObjectPlaylistEntry(HVJsonNode node) : node_(std::move(node)) {}

std::string HVJsonObjectPlaylistEntry::GetURL() const {
    return ReadString(node_, "url");
}
HVJsonNode HVJsonObjectPlaylistEntry::GetJsonValue() const {
    return node_;
}

} // namespace Halvorn

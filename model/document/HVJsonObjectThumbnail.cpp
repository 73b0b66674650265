#include "HVJsonObjectThumbnail.h"

#include <utility>

namespace Halvorn {

HVJsonObjectThumbnail::HVJsonObjectThumbnail(HVJsonNode node) : node_(std::move(node)) {}

int HVJsonObjectThumbnail::GetWidth() const {
    return ReadInt(node_, "width");
}
int HVJsonObjectThumbnail::GetHeight() const {
    return ReadInt(node_, "height");
}
std::string HVJsonObjectThumbnail::GetURL() const {
    return ReadString(node_, "url");
}
std::string HVJsonObjectThumbnail::GetID() const {
    return ReadString(node_, "id");
}

HVHTTPHeaders HVJsonObjectThumbnail::GetHeaders() const {
    return ReadHeaders(node_);
}

} // namespace Halvorn

#pragma once
// Reading a node that may be missing: the adapters answer the empty value then.

#include "HVHTTPTerms.h"
#include "IHVJsonValue.h"

namespace Halvorn {

using HVJsonNode = std::shared_ptr<IHVJsonValue const>;

inline std::string ReadString(HVJsonNode const& node, std::string const& key) {
    return node == nullptr ? std::string() : node->GetValueString(key);
}
inline int ReadInt(HVJsonNode const& node, std::string const& key) {
    return node == nullptr ? 0 : node->GetValueInt(key);
}
inline float ReadFloat(HVJsonNode const& node, std::string const& key) {
    return node == nullptr ? 0.0F : node->GetValueFloat(key);
}
inline int ReadArrayCount(HVJsonNode const& node, std::string const& key) {
    return node == nullptr ? 0 : node->GetArrayCount(key);
}
inline HVJsonNode ReadMember(HVJsonNode const& node, char const* key) {
    return node == nullptr ? nullptr : (*node)[key];
}
inline HVJsonNode ReadArrayItem(HVJsonNode const& node, std::string const& key, int index) {
    return node == nullptr ? nullptr : node->GetArrayItem(key, index);
}
/// The headers that the tool sends when it asks for what the node describes.
inline HVHTTPHeaders ReadHeaders(HVJsonNode const& node) {
    HVHTTPHeaders headers;
    if (auto const member = ReadMember(node, "http_headers"))
        for (auto const& name : member->GetMemberNames())
            headers.emplace_back(name, ReadString(member, name));
    return headers;
}

} // namespace Halvorn

#pragma once
// A node of a parsed JSON document, and the reader that makes one.
//
// Nodes are read-only and safe to read from any thread; a node keeps its document alive. No getter fails:
// where a key is absent, holds null, holds another type, or a number that does not fit the type asked for, or
// where the node itself is no object, it answers the empty value of its type. A fractional number read as an
// integer is cut toward zero.

#include "IHVError.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Halvorn {

class IHVJsonValue {
public:
    virtual std::string GetValueString(std::string const& key) const = 0;
    virtual int GetValueInt(std::string const& key) const = 0;
    virtual std::uint64_t GetValueUInt64(std::string const& key) const = 0;
    virtual float GetValueFloat(std::string const& key) const = 0;
    virtual bool GetValueBool(std::string const& key) const = 0;
    /// Length of the array at `key`.
    virtual int GetArrayCount(std::string const& key) const = 0;
    /// The member, empty when there is none.
    virtual std::shared_ptr<IHVJsonValue const> operator[](char const* key) const = 0;
    /// Element `index` of the array at `key`; empty when out of range.
    virtual std::shared_ptr<IHVJsonValue const> GetArrayItem(std::string const& key, int index) const = 0;
    /// The names of this object's members, in the document's order.
    virtual std::vector<std::string> GetMemberNames() const = 0;

protected:
    ~IHVJsonValue() = default;
};

class IHVJsonReader {
public:
    /// Parses a whole text: the root, or empty when the text is no JSON. NaN, Infinity, integers of any
    /// length, lone surrogates and any nesting depth are taken. The text is not needed afterwards. `error`
    /// may be null; else it receives the reason of a failure.
    static std::shared_ptr<IHVJsonValue const> ReadJsonString(std::string const& text,
                                                              std::shared_ptr<IHVError const>* error);
    /// The node as a JSON text of one line, pure ASCII; an integer of more than 64 bits has become a number
    /// with a fraction, NaN and Infinity stay. Empty for an empty node, and for one that no reader made.
    static std::string JsonText(std::shared_ptr<IHVJsonValue const> const& node);
    /// The same of an object, with the text `value` for its member `key`, whether or not it has one; empty
    /// for a node that is no object.
    static std::string JsonTextWith(std::shared_ptr<IHVJsonValue const> const& node, std::string const& key,
                                    std::string const& value);
    /// The same of any node, without the members of these names, at whatever depth. The names are in lower
    /// case; that of a member does not count.
    static std::string JsonTextWithout(std::shared_ptr<IHVJsonValue const> const& node,
                                       std::vector<std::string> const& names);
};

} // namespace Halvorn

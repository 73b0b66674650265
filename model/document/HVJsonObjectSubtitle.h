#pragma once
// The tool's whole "automatic_captions" object, of which a language is one member. Read-only; empty values on
// an empty node. Any thread may read.

#include "HVJsonRead.h"

#include <map>

namespace Halvorn {

class HVJsonObjectSubtitle final {
public:
    explicit HVJsonObjectSubtitle(HVJsonNode node);

    /// Always empty: the object holds all languages.
    std::string Getlanguage() const;
    /// Name of the language, or its key when it has none; empty when nothing is offered in it.
    std::string GetName(std::string const& language) const;
    /// From each extension on offer to its address. Of several with one extension the last counts.
    std::map<std::string, std::string> GetFormatAndUrls(std::string const& language) const;

private:
    HVJsonNode node_;
};

} // namespace Halvorn

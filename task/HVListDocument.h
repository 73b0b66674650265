#pragma once
// The tool's flat listing of a list, as entries to choose from. Read-only once made; any thread may read.

#include "HVJsonRead.h"
#include "HVListEntry.h"

#include <cstdint>
#include <map>
#include <string>

namespace Halvorn {

/// Whether the document is that of a list: a playlist, or one video in several parts.
bool IsListDocument(HVJsonNode const& document);
/// Whether the document is a whole item: with formats, or with the address of its one file.
bool IsItemDocument(HVJsonNode const& document);

class HVListDocument {
public:
    /// `address` is what the list was asked for by; empty for that of the document.
    explicit HVListDocument(HVJsonNode list, std::string address = {});

    /// What leads to the list; empty where nothing does.
    std::string const& Address() const { return address_; }
    /// How many entries are listed; a listing may have been asked for some of them alone.
    int Count() const;
    /// How many the list has in all.
    int Total() const;
    /// The listed entry `index`, from 0, of a list at this level.
    HVListEntry Entry(int index, int level) const;
    /// When that entry was published, in seconds since 1970; 0 where the listing tells no more than the day.
    std::uint64_t Seconds(int index) const;
    /// The document of that entry; may be empty.
    HVJsonNode Node(int index) const;

private:
    std::string PageOfWhole(HVJsonNode const& entry) const;

    HVJsonNode list_;
    std::string address_;
    /// How many entries name a page as theirs.
    std::map<std::string, int> pages_;
};

} // namespace Halvorn

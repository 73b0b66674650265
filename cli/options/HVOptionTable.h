#pragma once
// The options that reach the tool through the library's records: one table that the parser, the help, the
// checks and docs/options.md are made from.

#include <Reelhaul/HVDownloadBrowser.h>
#include <Reelhaul/IHVDownloadCookies.h>
#include <Reelhaul/IHVProxy.h>

#include <memory>
#include <span>
#include <string>

namespace Halvorn {

class HVOptionRecords;

enum class HVOptionKind {
    Flag,
    Text,
    Secret, ///< "-" asks for it, or reads it from standard input
    Number,
    Rate,    ///< a number of bytes, perhaps with K, M or G
    Path,    ///< of something that exists
    Proxy,   ///< an address
    Browser, ///< a name that the tool knows, perhaps with keyring, profile and container
};

/// A value, checked; which member counts depends on the kind.
struct HVOptionValue {
    std::string text;
    int number = 0;
    std::shared_ptr<IHVProxy> proxy;
    HVDownloadBrowser browser = HVDownloadBrowserUnknown;
    IHVDownloadCookies::BrowserStore store; ///< of the browser
};

struct HVOptionRow {
    char const* group; ///< heading in the help and the documentation
    char const* name;  ///< with its dashes
    char const* value; ///< what the help calls the value; empty for a flag
    HVOptionKind kind;
    int lowest; ///< of a number
    int highest;
    bool downloadOnly; ///< analyses don't know it
    char const* needs; ///< the option that it counts beside; empty for none
    char const*
        method; ///< the way to log in that it belongs to, of which only one can be used; empty for none
    char const* field; ///< what it sets in the library
    char const* tool;  ///< arguments of the tool
    char const* help;
    void (*apply)(HVOptionRecords&, HVOptionValue const&);
};

/// In the order in which options are shown and applied.
std::span<HVOptionRow const> OptionTable();

} // namespace Halvorn

#pragma once
// The options given on the command line, checked and turned into the library's records.

#include <Reelhaul/HVDownloadBrowser.h>
#include <Reelhaul/IHVDownloadCookies.h>
#include <Reelhaul/IHVDownloadOptions.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace Halvorn {

/// What was given, by the option's name; a flag has an empty value.
using HVGivenOptions = std::map<std::string, std::string, std::less<>>;

/// Checks everything that can be known before the tool runs, and asks for passwords where "-" was given or an
/// account has none. Returns the fault, which names the option; empty when all is well.
std::string ReadOptions(HVGivenOptions given, std::shared_ptr<IHVDownloadOptions>& bundle);

/// A number of bytes a second, perhaps with K, M or G behind it; negative when it is none.
int ReadRate(std::string_view text);

/// The browser that the tool knows by this name. Returns the fault, which lists the names; empty when all is
/// well.
std::string ReadBrowser(std::string_view name, HVDownloadBrowser& browser);

/// The same of "NAME[+KEYRING][:PROFILE][::CONTAINER]".
std::string ReadBrowserStore(std::string const& given, HVDownloadBrowser& browser,
                             IHVDownloadCookies::BrowserStore& store);

/// Why `path`, the value of the option `name`, is no existing path; empty when it is one.
std::string PathFault(std::string const& name, std::string const& path);

} // namespace Halvorn

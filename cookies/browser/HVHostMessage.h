#pragma once
// The messages between a browser's extension, the host program and an application: JSON, framed by HVFrames.
//
// extension -> host   hello (what the browser and its profile are called, whether it may be asked); waiting,
//                     cookies and refused, each with the id of what it answers
// host -> extension   ask, end (nobody waits any more)
// host -> application hello first, then what the extension says to this application's request
// application -> host ask, one on each connection; its end is the end of the connection

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Halvorn {

/// Bytes of a request. (Browsers take up to 1 MB from a host.)
constexpr std::size_t kLongestRequest = 64UL * 1024;
/// Bytes of an answer: the cookies of a browser that is full of them are some 15 MB.
constexpr std::size_t kLongestAnswer = 32UL * 1024 * 1024;

/// A message but for its cookies; what is not in it is empty.
struct HVHostMessage {
    /// False for a text that is no message.
    bool Read(std::string const& text);
    std::string Text() const;

    std::string type;
    int id = 0;
    std::string browser; ///< the tool's word for it
    std::string profile;
    bool on = false;         ///< the user has not turned the extension off
    bool permission = false; ///< the extension may read cookies of any site
    std::string reason;      ///< of a refusal: "user", "off", "permission", "fault"
    std::string text;
    std::vector<std::string> addresses;
    std::string application; ///< name of the program that asks; it and what follows the host finds out itself
    std::string program;     ///< its path
    int pid = 0;
};

/// The cookies file that a message of cookies makes; empty for a message that has none to read. A cookie that
/// no such file can hold is left out, as is one that goes out only inside another site's pages.
std::string CookiesFileOf(std::string const& message);

} // namespace Halvorn

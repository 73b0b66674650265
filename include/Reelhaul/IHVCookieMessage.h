#pragma once
/// \class Halvorn::IHVCookieMessage
/// A request for cookies to a running browser.
///
/// Thread-safety: a message never changes; any operation may be called from any thread. Ownership: held by
/// shared pointers.

#include "HVDownloadBrowser.h"
#include "HVExport.h"

#include <memory>
#include <string>
#include <vector>

namespace Halvorn {

class HV_EXPORT IHVCookieMessage {
public:
    /// A request to `browser`, made now, for all its cookies. The one kind of request is 0.
    static std::shared_ptr<IHVCookieMessage> MallocCookieMessage(int kind, HVDownloadBrowser browser);
    /// The same for the sites of these addresses alone; all cookies where there is none. `profile` is the
    /// name of one of the browser's profiles, empty for the one that was started last.
    static std::shared_ptr<IHVCookieMessage> MallocCookieMessage(int kind, HVDownloadBrowser browser,
                                                                 std::vector<std::string> addresses,
                                                                 std::string profile);

    /// When the request was made, in milliseconds since 1970: a state with the same or a later time answers
    /// it.
    virtual long long GetMessageTime() const = 0;
    /// The browser that is asked.
    virtual HVDownloadBrowser GetBrowser() const = 0;
    /// What is asked for; 0.
    virtual int GetKind() const = 0;

    /// The addresses whose sites' cookies are asked for; empty for all cookies.
    std::vector<std::string> GetAddresses() const;
    /// The profile that is asked; empty for any.
    std::string GetProfile() const;

protected:
    ~IHVCookieMessage() = default;
};

} // namespace Halvorn

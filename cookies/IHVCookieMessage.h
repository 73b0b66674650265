#pragma once
// A request for cookies to a browser. Immutable; safe to read from any thread. Held by shared pointers.

#include "HVDownloadBrowser.h"

#include <memory>

namespace Halvorn {

class IHVCookieMessage {
public:
    /// A request to `browser`, made now. The one kind of request is 0.
    static std::shared_ptr<IHVCookieMessage> MallocCookieMessage(int kind, HVDownloadBrowser browser);

    /// When the request was made, in milliseconds since 1970: a state with the same or a later time answers
    /// it.
    virtual long long GetMessageTime() const = 0;
    virtual HVDownloadBrowser GetBrowser() const = 0;
    virtual int GetKind() const = 0;

protected:
    ~IHVCookieMessage() = default;
};

} // namespace Halvorn

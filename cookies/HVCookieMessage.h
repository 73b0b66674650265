#pragma once
// The implementation of IHVCookieMessage.

#include "IHVCookieMessage.h"

namespace Halvorn {

class HVCookieMessage final : public IHVCookieMessage {
public:
    HVCookieMessage(int kind, HVDownloadBrowser browser, long long time)
        : kind_(kind), browser_(browser), time_(time) {}

    long long GetMessageTime() const override { return time_; }
    HVDownloadBrowser GetBrowser() const override { return browser_; }
    int GetKind() const override { return kind_; }

private:
    int kind_;
    HVDownloadBrowser browser_;
    long long time_;
};

} // namespace Halvorn

#pragma once
// The implementation of IHVCookieMessage.

#include "IHVCookieMessage.h"

#include <utility>

namespace Halvorn {

class HVCookieMessage final : public IHVCookieMessage {
public:
    HVCookieMessage(int kind, HVDownloadBrowser browser, long long time,
                    std::vector<std::string> addresses = {}, std::string profile = {})
        : kind_(kind), browser_(browser), time_(time), addresses_(std::move(addresses)),
          profile_(std::move(profile)) {}

    long long GetMessageTime() const override { return time_; }
    HVDownloadBrowser GetBrowser() const override { return browser_; }
    int GetKind() const override { return kind_; }
    std::vector<std::string> const& Addresses() const { return addresses_; }
    std::string const& Profile() const { return profile_; }

private:
    int kind_;
    HVDownloadBrowser browser_;
    long long time_;
    std::vector<std::string> addresses_;
    std::string profile_;
};

} // namespace Halvorn

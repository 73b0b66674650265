#include "HVCookieMessage.h"

#include <chrono>

namespace Halvorn {

std::shared_ptr<IHVCookieMessage> IHVCookieMessage::MallocCookieMessage(int kind, HVDownloadBrowser browser) {
    return MallocCookieMessage(kind, browser, {}, {});
}

std::shared_ptr<IHVCookieMessage> IHVCookieMessage::MallocCookieMessage(int kind, HVDownloadBrowser browser,
                                                                        std::vector<std::string> addresses,
                                                                        std::string profile) {
    auto const now = std::chrono::system_clock::now().time_since_epoch();
    auto const milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
    return std::make_shared<HVCookieMessage>(kind, browser, milliseconds, std::move(addresses),
                                             std::move(profile));
}

std::vector<std::string> IHVCookieMessage::GetAddresses() const {
    auto const* const own = dynamic_cast<HVCookieMessage const*>(this);
    return own != nullptr ? own->Addresses() : std::vector<std::string>();
}

std::string IHVCookieMessage::GetProfile() const {
    auto const* const own = dynamic_cast<HVCookieMessage const*>(this);
    return own != nullptr ? own->Profile() : std::string();
}

} // namespace Halvorn

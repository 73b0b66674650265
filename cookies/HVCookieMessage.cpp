#include "HVCookieMessage.h"

#include <chrono>

namespace Halvorn {

std::shared_ptr<IHVCookieMessage> IHVCookieMessage::MallocCookieMessage(int kind, HVDownloadBrowser browser) {
    auto const now = std::chrono::system_clock::now().time_since_epoch();
    auto const milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
    return std::make_shared<HVCookieMessage>(kind, browser, milliseconds);
}

} // namespace Halvorn

#include "IHVCookieStock.h"

#include "HVBrowserState.h"

#include <mutex>
#include <utility>

namespace Halvorn {

namespace {

/// The stock while there is no other source of cookies.
class HVCookieStock final : public IHVCookieStock {
public:
    std::shared_ptr<IHVError const> SendCookieMessage(std::shared_ptr<IHVCookieMessage const>) override {
        return IHVError::MallocError("HVCookieStock", __LINE__, "SendCookieMessage", -1, "Error",
                                     "No browser can be asked for cookies.");
    }
    std::shared_ptr<IHVBrowserState const> GetBrowserState(HVDownloadBrowser) override {
        auto state = std::make_shared<HVBrowserState>();
        state->text = "No browser can be asked for cookies.";
        return state;
    }
    std::string GetCookieData() override { return {}; }
    bool BrowserWasStarted(HVDownloadBrowser) override { return false; }
};

struct SharedStock {
    std::mutex mutex;
    std::shared_ptr<IHVCookieStock> stock = std::make_shared<HVCookieStock>();
};

/// Never destroyed: a worker may ask for it while the process ends.
SharedStock& Shared() {
    static auto& shared = *new SharedStock;
    return shared;
}

} // namespace

std::shared_ptr<IHVCookieStock> IHVCookieStock::SharedCookieStock() {
    auto& shared = Shared();
    std::lock_guard const lock(shared.mutex);
    return shared.stock;
}

void IHVCookieStock::SetSharedCookieStock(std::shared_ptr<IHVCookieStock> stock) {
    if (!stock)
        stock = std::make_shared<HVCookieStock>();
    auto& shared = Shared();
    // Swapped, so that the former stock's end does not come under the lock.
    std::lock_guard const lock(shared.mutex);
    std::swap(shared.stock, stock);
}

} // namespace Halvorn

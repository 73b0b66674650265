#include "IHVCookieStock.h"

#include "HVBrowserStock.h"

#include <mutex>
#include <utility>

namespace Halvorn {

namespace {

struct SharedStock {
    std::mutex mutex;
    std::shared_ptr<IHVCookieStock> stock = std::make_shared<HVBrowserStock>();
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
        stock = std::make_shared<HVBrowserStock>();
    auto& shared = Shared();
    // Swapped, so that the former stock's end does not come under the lock.
    std::lock_guard const lock(shared.mutex);
    std::swap(shared.stock, stock);
}

} // namespace Halvorn

#include "HVToolStop.h"

#include <utility>

namespace Halvorn {

void HVToolStop::Request() {
    requested_ = true;
    std::list<std::function<void()>> ends;
    {
        std::lock_guard const lock(mutex_);
        ends = ends_;
    }
    for (auto const& end : ends)
        end();
}

HVToolStop::Attachment::Attachment(HVToolStop* stop, std::function<void()> end) : stop_(stop) {
    if (stop_ == nullptr)
        return;
    std::lock_guard const lock(stop_->mutex_);
    place_ = stop_->ends_.insert(stop_->ends_.end(), std::move(end));
}

HVToolStop::Attachment::~Attachment() {
    if (stop_ == nullptr)
        return;
    std::lock_guard const lock(stop_->mutex_);
    stop_->ends_.erase(place_);
}

} // namespace Halvorn

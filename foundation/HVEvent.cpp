#include "HVLatch.h"
#include "IHVEvent.h"

namespace Halvorn {

namespace {

class HVEvent final : public IHVEvent {
public:
    int Wait(unsigned int milliseconds) override { return latch_.Wait(milliseconds); }
    void Signal() override { latch_.Raise(); }

private:
    HVLatch latch_;
};

} // namespace

std::shared_ptr<IHVEvent> IHVEvent::MallocEvent() {
    return std::make_shared<HVEvent>();
}

} // namespace Halvorn

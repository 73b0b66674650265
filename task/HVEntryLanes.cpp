#include "HVEntryLanes.h"

#include "HVConstants.h"
#include "HVGroupMember.h"
#include "HVHTTPAddress.h"
#include "IHVThread.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace Halvorn {

HVEntryLanes::HVEntryLanes(Limits limits, std::function<bool()> stopped, std::shared_ptr<HVGroupMember> group)
    : limits_{std::max(1, limits.atOnce), std::max(1, limits.perSite)}, stopped_(std::move(stopped)),
      group_(std::move(group)) {}

HVEntryLanes::~HVEntryLanes() {
    {
        std::lock_guard const lock(mutex_);
        closed_ = true;
        changed_.notify_all();
    }
    for (auto const& thread : threads_)
        thread->WaitEnd(HVInfiniteTimeOut);
}

void HVEntryLanes::AddInFront(std::vector<Entry> entries) {
    std::list<Slot> slots;
    for (auto& entry : entries) {
        std::string site = HostOfAddress(entry.address);
        slots.push_back({std::move(entry), std::move(site), nullptr, State::Waiting});
    }
    std::lock_guard const lock(mutex_);
    waiting_ += slots.size();
    slots_.splice(slots_.begin(), slots);
    changed_.notify_all();
}

int HVEntryLanes::Loaded() const {
    std::lock_guard const lock(mutex_);
    return loaded_;
}

HVEntryLanes::Result HVEntryLanes::Guarded(std::function<Result()> const& load) {
    auto const failure = [](char const* what) {
        return IHVError::MallocError("HVEntryLanes", __LINE__, "Guarded", -1, "Error",
                                     "Unexpected failure: %s", what);
    };
    try {
        auto result = load();
        return result != nullptr ? result
                                 : IHVError::MallocError("HVEntryLanes", __LINE__, "Guarded", -1, "Error",
                                                         "Unknown error, please try again later.");
    } catch (std::exception const& exception) {
        return failure(exception.what());
    } catch (...) {
        return failure("unknown failure");
    }
}

void HVEntryLanes::Run() {
    while (!stopped_() && ReportsNext()) {
    }
}

/// False when there is none, or none any more.
bool HVEntryLanes::ReportsNext() {
    StartThreads();
    if (!AwaitFirst())
        return false;
    std::list<Slot> first;
    {
        std::lock_guard const lock(mutex_);
        first.splice(first.begin(), slots_, slots_.begin());
    }
    first.front().entry.report(first.front().result);
    return true;
}

void HVEntryLanes::StartThreads() {
    std::size_t wanted = 0;
    {
        std::lock_guard const lock(mutex_);
        wanted = waiting_ + static_cast<std::size_t>(loading_);
    }
    wanted = std::min(wanted, static_cast<std::size_t>(limits_.atOnce));
    // One entry alone is loaded by the thread of Run.
    if (wanted == 1 && threads_.empty())
        return;
    while (threads_.size() < wanted && !noMoreThreads_) {
        auto thread = IHVThread::MallocThread([this] { Work(); });
        noMoreThreads_ = !thread->Start()->Succeed();
        if (!noMoreThreads_)
            threads_.push_back(std::move(thread));
    }
}

/// Waits until the first entry is loaded, or loads it here where no thread does. False when there is none, or
/// when a stop has kept it from being loaded.
bool HVEntryLanes::AwaitFirst() {
    std::unique_lock lock(mutex_);
    if (slots_.empty())
        return false;
    if (threads_.empty()) {
        Slot& slot = *NextToLoad(); // nothing else is loading, so it is the first
        lock.unlock();
        Load(slot);
        return true;
    }
    Slot const& first = slots_.front();
    changed_.wait(lock, [&] {
        return first.state == State::Loaded || (first.state == State::Waiting && loading_ == 0 && stopped_());
    });
    return first.state == State::Loaded;
}

void HVEntryLanes::Work() {
    for (;;) {
        Slot* slot = nullptr;
        {
            std::unique_lock lock(mutex_);
            changed_.wait(lock, [&] { return closed_ || stopped_() || (slot = NextToLoad()) != nullptr; });
            if (slot == nullptr) {
                changed_.notify_all();
                return;
            }
        }
        Load(*slot);
    }
}

bool HVEntryLanes::MayBegin(Slot const& slot) const {
    if (slot.state != State::Waiting)
        return false;
    auto const site = loadingOfSite_.find(slot.site);
    return site == loadingOfSite_.end() || site->second < limits_.perSite;
}

/// Marks it as being loaded. The lock is held.
HVEntryLanes::Slot* HVEntryLanes::NextToLoad() {
    if (waiting_ == 0)
        return nullptr;
    auto const slot = std::find_if(slots_.begin(), slots_.end(), [this](auto& it) { return MayBegin(it); });
    if (slot == slots_.end())
        return nullptr;
    slot->state = State::Loading;
    --waiting_;
    ++loading_;
    ++loadingOfSite_[slot->site];
    return &*slot;
}

HVEntryLanes::Result HVEntryLanes::LoadInPlace(Slot const& slot) const {
    if (group_ == nullptr)
        return Guarded(slot.entry.load);
    if (!group_->TakePlace(slot.site, stopped_))
        return IHVError::MallocCancel("HVEntryLanes", __LINE__, "LoadInPlace");
    auto result = Guarded(slot.entry.load);
    group_->GivePlace(slot.site);
    return result;
}

void HVEntryLanes::Load(Slot& slot) {
    auto result = LoadInPlace(slot);
    std::lock_guard const lock(mutex_);
    slot.result = std::move(result);
    slot.state = State::Loaded;
    --loading_;
    ++loaded_;
    if (auto const site = loadingOfSite_.find(slot.site); --site->second == 0)
        loadingOfSite_.erase(site);
    changed_.notify_all();
}

} // namespace Halvorn

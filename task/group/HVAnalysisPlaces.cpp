#include "HVAnalysisPlaces.h"

#include <algorithm>
#include <chrono>

namespace Halvorn {

namespace {

/// A stop of one task wakes no other's wait.
constexpr std::chrono::milliseconds kLookAgain(200);

} // namespace

void HVAnalysisPlaces::SetAtOnce(int count) {
    std::lock_guard const lock(mutex_);
    atOnce_ = std::max(1, count);
    changed_.notify_all();
}

int HVAnalysisPlaces::AtOnce() const {
    std::lock_guard const lock(mutex_);
    return atOnce_;
}

void HVAnalysisPlaces::SetPerSite(int count) {
    std::lock_guard const lock(mutex_);
    perSite_ = std::max(1, count);
    changed_.notify_all();
}

int HVAnalysisPlaces::PerSite() const {
    std::lock_guard const lock(mutex_);
    return perSite_;
}

bool HVAnalysisPlaces::TakeNow(std::string const& site) {
    std::lock_guard const lock(mutex_);
    bool const wanted = std::any_of(waiting_.begin(), waiting_.end(),
                                    [this](auto const& waiting) { return HasRoom(waiting.second); });
    if (wanted || !HasRoom(site))
        return false;
    Enter(site);
    return true;
}

bool HVAnalysisPlaces::Take(std::size_t number, std::string const& site,
                            std::function<bool()> const& stopped) {
    std::unique_lock lock(mutex_);
    Ticket const ticket(number, calls_++);
    waiting_.emplace(ticket, site);
    while (!stopped() && !IsNext(ticket))
        changed_.wait_for(lock, kLookAgain);
    bool const has = !stopped();
    waiting_.erase(ticket);
    if (has)
        Enter(site);
    changed_.notify_all(); // the next one may have room as well
    return has;
}

void HVAnalysisPlaces::Give(std::string const& site) {
    std::lock_guard const lock(mutex_);
    --taken_;
    if (auto const found = takenOfSite_.find(site); --found->second == 0)
        takenOfSite_.erase(found);
    changed_.notify_all();
}

bool HVAnalysisPlaces::HasRoom(std::string const& site) const {
    auto const found = takenOfSite_.find(site);
    return taken_ < atOnce_ && (found == takenOfSite_.end() || found->second < perSite_);
}

bool HVAnalysisPlaces::IsNext(Ticket const& ticket) const {
    auto const first = std::find_if(waiting_.begin(), waiting_.end(),
                                    [this](auto const& waiting) { return HasRoom(waiting.second); });
    return first != waiting_.end() && first->first == ticket;
}

void HVAnalysisPlaces::Enter(std::string const& site) {
    ++taken_;
    ++takenOfSite_[site];
}

} // namespace Halvorn

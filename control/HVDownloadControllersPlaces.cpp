// Who gets a free place of the queue.

#include "HVDownloadControllers.h"
#include "HVDownloadRun.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace Halvorn {

/// The controllers that take a place. Under the lock, as all that returns without taking it itself.
std::set<IHVDownloadController const*> HVDownloadControllers::TakenPlaces() const {
    std::set<IHVDownloadController const*> taken;
    for (auto const& [controller, start] : starts_)
        taken.insert(controller);
    for (auto const& row : rows_)
        if (row.State() == HVDownloadStateDownloading)
            taken.insert(row.controller.get());
    return taken;
}

/// Given how many controllers take a place.
int HVDownloadControllers::FreePlaces(std::size_t taken) const {
    auto const removed = std::count_if(removedRuns_.begin(), removedRuns_.end(),
                                       [](auto const& run) { return !run->Ended(); });
    // Wide, since any number may be the limit.
    auto const free = static_cast<long long>(concurrentDownload_) - static_cast<long long>(taken) - removed;
    return static_cast<int>(std::max(free, 0LL));
}

int HVDownloadControllers::CountFreePlaces() const {
    std::lock_guard const lock(mutex_);
    return FreePlaces(TakenPlaces().size());
}

HVDownloadControllers::Place HVDownloadControllers::TakePlace(IHVDownloadController& controller) {
    std::lock_guard const lock(mutex_);
    auto const row = std::find_if(rows_.begin(), rows_.end(),
                                  [&](auto const& each) { return each.controller.get() == &controller; });
    auto const taken = TakenPlaces();
    // Asked once more under the lock: another thread may have removed it, or started it, since.
    if (row == rows_.end())
        return Place::NoRow;
    if (taken.contains(&controller) || row->State() == HVDownloadStateDone)
        return Place::NotWanted;
    if (FreePlaces(taken.size()) == 0)
        return Place::NoneFree;
    starts_.emplace(&controller, HeldStart());
    return Place::Taken;
}

void HVDownloadControllers::GiveBackPlace(IHVDownloadController& controller) {
    std::lock_guard const lock(mutex_);
    auto const start = starts_.find(&controller);
    if (start == starts_.end())
        return;
    bool const removed = start->second.removed;
    starts_.erase(start);
    auto* const own = dynamic_cast<HVDownloadController*>(&controller);
    if (!removed || own == nullptr)
        return;
    // Its run takes the place on; or has ended by now, of which nobody told this queue.
    if (auto run = own->RemoveOwner(*this))
        KeepRun(std::move(run));
    else
        ++completions_;
}

/// Has a run take a place though its row was removed.
void HVDownloadControllers::KeepRun(std::shared_ptr<HVDownloadRun> run) {
    if (std::find(removedRuns_.begin(), removedRuns_.end(), run) == removedRuns_.end())
        removedRuns_.push_back(std::move(run));
}

std::uint64_t HVDownloadControllers::Completions() const {
    std::lock_guard const lock(mutex_);
    return completions_;
}

void HVDownloadControllers::DownloadCompleted(HVDownloadController* /*controller*/) {
    {
        std::lock_guard const lock(mutex_);
        ++completions_;
        std::erase_if(removedRuns_, [](auto const& run) { return run->Over(); });
    }
    FillFreePlaces();
}

HVDownloadControllers::Controllers HVDownloadControllers::TakePlacesForPending(std::uint64_t& completions) {
    Controllers chosen;
    std::lock_guard const lock(mutex_);
    completions = completions_;
    int free = FreePlaces(TakenPlaces().size());
    for (auto row = rows_.begin(); row != rows_.end() && free > 0; ++row) {
        // A controller that stands in two rows is started once.
        if (row->State() != HVDownloadStatePending || !starts_.try_emplace(row->controller.get()).second)
            continue;
        chosen.push_back(row->controller);
        --free;
    }
    return chosen;
}

bool HVDownloadControllers::StartChosen(IHVDownloadController& controller) {
    HeldPlace const place(this, controller);
    if (auto* const own = dynamic_cast<HVDownloadController*>(&controller))
        return own->StartPending() != nullptr;
    controller.StartDownload();
    return true;
}

void HVDownloadControllers::FillFreePlaces() {
    std::uint64_t completions = 0;
    bool refused = false;
    do {
        auto const chosen = TakePlacesForPending(completions);
        if (chosen.empty())
            return;
        refused = false;
        for (auto const& controller : chosen)
            refused = !StartChosen(*controller) || refused;
        // A row that was reset before its start leaves its place to the next one, and a run that ended
        // meanwhile took our places for taken and found none free.
    } while (refused || Completions() != completions);
}

int HVDownloadControllers::WaitUntilIdle(unsigned int milliseconds) const {
    using Clock = std::chrono::steady_clock;
    auto const begin = Clock::now();
    auto const left = [&]() -> unsigned int {
        if (milliseconds == HVInfiniteTimeOut)
            return milliseconds;
        auto const passed =
            std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin).count();
        return static_cast<unsigned int>(std::max<long long>(milliseconds - passed, 0));
    };
    // A row that was waited for may be started anew while others are waited for: until all rest at once.
    for (bool waited = true; waited;) {
        waited = false;
        std::vector<Row> rows;
        std::vector<std::shared_ptr<HVDownloadRun>> runs;
        {
            std::lock_guard const lock(mutex_);
            rows = rows_;
            runs = removedRuns_;
        }
        for (auto const& row : rows) {
            if (row.own == nullptr || !row.own->Busy())
                continue;
            waited = true;
            if (int const result = row.own->WaitUntilIdle(left()); result != HVErrSuccess)
                return result;
        }
        for (auto const& run : runs) {
            if (run->Over())
                continue;
            waited = true;
            if (int const result = run->WaitUntilOver(left()); result != HVErrSuccess)
                return result;
        }
    }
    return HVErrSuccess;
}

} // namespace Halvorn

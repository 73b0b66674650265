#include "HVDownloadControllers.h"

#include <algorithm>
#include <utility>

namespace Halvorn {

namespace {

void SetOwner(IHVDownloadController* controller, HVDownloadControllers* owner) {
    if (auto* const concrete = dynamic_cast<HVDownloadController*>(controller))
        concrete->SetOwner(owner);
}

bool InRange(int index, std::size_t size) {
    return index >= 0 && static_cast<std::size_t>(index) < size;
}

} // namespace

void HVDownloadControllers::SetConcurrentDownload(int count) {
    std::lock_guard const lock(mutex_);
    concurrentDownload_ = count;
}

int HVDownloadControllers::GetConcurrentDownload() const {
    std::lock_guard const lock(mutex_);
    return concurrentDownload_;
}

void HVDownloadControllers::AddController(std::shared_ptr<IHVDownloadController> controller) {
    AddController(Controllers{std::move(controller)});
}

void HVDownloadControllers::AddController(Controllers controllers) {
    InsertController(std::move(controllers), GetControllerCount());
}

void HVDownloadControllers::InsertController(std::shared_ptr<IHVDownloadController> controller, int index) {
    InsertController(Controllers{std::move(controller)}, index);
}

void HVDownloadControllers::InsertController(Controllers controllers, int index) {
    std::erase(controllers, nullptr);
    for (auto const& controller : controllers)
        SetOwner(controller.get(), this);
    std::lock_guard const lock(mutex_);
    auto const at = std::clamp<std::ptrdiff_t>(index, 0, std::ssize(controllers_));
    controllers_.insert(controllers_.begin() + at, controllers.begin(), controllers.end());
}

bool HVDownloadControllers::RemoveController(std::shared_ptr<IHVDownloadController> controller) {
    SetOwner(controller.get(), nullptr);
    std::lock_guard const lock(mutex_);
    auto const found = std::find(controllers_.begin(), controllers_.end(), controller);
    if (controller == nullptr || found == controllers_.end())
        return false;
    controllers_.erase(found);
    return true;
}

bool HVDownloadControllers::RemoveController(int index) {
    std::shared_ptr<IHVDownloadController> removed; // goes after the lock
    std::lock_guard const lock(mutex_);
    if (!InRange(index, controllers_.size()))
        return false;
    removed = controllers_[static_cast<std::size_t>(index)];
    SetOwner(removed.get(), nullptr);
    controllers_.erase(controllers_.begin() + index);
    return true;
}

bool HVDownloadControllers::RemoveController(Controllers controllers) {
    for (auto const& controller : controllers)
        RemoveController(controller);
    return true;
}

bool HVDownloadControllers::RemoveController(std::vector<int> indices) {
    for (int const index : indices)
        RemoveController(index);
    return true;
}

int HVDownloadControllers::GetControllerCount() const {
    std::lock_guard const lock(mutex_);
    return static_cast<int>(controllers_.size());
}

std::shared_ptr<IHVDownloadController> HVDownloadControllers::GetController(int index) {
    std::lock_guard const lock(mutex_);
    return InRange(index, controllers_.size()) ? controllers_[static_cast<std::size_t>(index)] : nullptr;
}

std::shared_ptr<IHVDownloadController const> HVDownloadControllers::GetController(int index) const {
    std::lock_guard const lock(mutex_);
    return InRange(index, controllers_.size()) ? controllers_[static_cast<std::size_t>(index)] : nullptr;
}

int HVDownloadControllers::IndexOfController(std::shared_ptr<IHVDownloadController> controller) {
    std::lock_guard const lock(mutex_);
    auto const found = std::find(controllers_.begin(), controllers_.end(), controller);
    return found == controllers_.end() ? -1 : static_cast<int>(found - controllers_.begin());
}

bool HVDownloadControllers::IsRunning(IHVDownloadController const& controller) const {
    return controller.State() == HVDownloadStateDownloading || places_.contains(&controller);
}

int HVDownloadControllers::FreePlaces() const {
    auto const running = std::count_if(controllers_.begin(), controllers_.end(),
                                       [this](auto const& controller) { return IsRunning(*controller); });
    return static_cast<int>(concurrentDownload_ - running);
}

HVDownloadControllers::Place HVDownloadControllers::TakePlace(IHVDownloadController& controller) {
    std::lock_guard const lock(mutex_);
    // Asked once more under the lock: another thread may have started it since.
    if (IsRunning(controller) || controller.State() == HVDownloadStateDone)
        return Place::NotWanted;
    if (FreePlaces() <= 0)
        return Place::NoneFree;
    places_.insert(&controller);
    return Place::Taken;
}

void HVDownloadControllers::GiveBackPlace(IHVDownloadController& controller) {
    std::lock_guard const lock(mutex_);
    places_.erase(&controller);
}

std::uint64_t HVDownloadControllers::Completions() const {
    std::lock_guard const lock(mutex_);
    return completions_;
}

void HVDownloadControllers::DownloadCompleted(HVDownloadController* /*controller*/) {
    {
        std::lock_guard const lock(mutex_);
        ++completions_;
    }
    FillFreePlaces();
}

HVDownloadControllers::Controllers HVDownloadControllers::TakePlacesForPending(std::uint64_t& completions) {
    Controllers chosen;
    std::lock_guard const lock(mutex_);
    completions = completions_;
    // One look at each row, since there may be thousands: those that run, and the first that wait.
    std::ptrdiff_t free = concurrentDownload_;
    for (auto const& controller : controllers_) {
        HVDownloadState const state = controller->State();
        bool const held = !places_.empty() && places_.contains(controller.get());
        if (state == HVDownloadStateDownloading || held)
            --free;
        else if (state == HVDownloadStatePending && std::ssize(chosen) < concurrentDownload_)
            chosen.push_back(controller);
    }
    chosen.resize(std::min(chosen.size(), static_cast<std::size_t>(std::max<std::ptrdiff_t>(free, 0))));
    // A controller that stands in two rows is started once.
    std::erase_if(chosen,
                  [this](auto const& controller) { return !places_.insert(controller.get()).second; });
    return chosen;
}

bool HVDownloadControllers::StartChosen(IHVDownloadController& controller) {
    HeldPlace const place(this, controller);
    if (auto* const concrete = dynamic_cast<HVDownloadController*>(&controller))
        return concrete->StartPending() != nullptr;
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

} // namespace Halvorn

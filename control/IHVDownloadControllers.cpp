#include "IHVDownloadControllers.h"

#include "HVDownloadControllers.h"
#include "HVNameTemplate.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace Halvorn {

std::shared_ptr<IHVDownloadControllers> IHVDownloadControllers::MallocDownloadControllers() {
    return std::make_shared<HVDownloadControllers>();
}

void IHVDownloadControllers::SetResumable(HVResumeSettings const& settings) {
    if (auto* const queue = dynamic_cast<HVDownloadControllers*>(this))
        queue->SetResumeOfRows(settings);
}

std::shared_ptr<IHVError const> IHVDownloadControllers::SetNameTemplate(std::string const& text) {
    auto checked = text.empty()
                       ? IHVError::MallocSucceed("IHVDownloadControllers", __LINE__, "SetNameTemplate")
                       : HVNameTemplate::Check(text);
    if (auto* const queue = dynamic_cast<HVDownloadControllers*>(this); queue && checked->Succeed())
        queue->SetNameOfRows(text);
    return checked;
}

void IHVDownloadControllers::SetArchive(std::shared_ptr<IHVDownloadArchive> archive) {
    if (auto* const queue = dynamic_cast<HVDownloadControllers*>(this))
        queue->SetArchiveOfRows(archive);
}

void IHVDownloadControllers::SetMetadataFiles(HVMetadataFiles const& files) {
    if (auto* const queue = dynamic_cast<HVDownloadControllers*>(this))
        queue->SetMetadataOfRows(files);
}

void IHVDownloadControllers::SetPauseBetweenStarts(int milliseconds) {
    if (auto* const queue = dynamic_cast<HVDownloadControllers*>(this))
        queue->Pacer().SetPause(std::chrono::milliseconds(std::max(0, milliseconds)));
}

void IHVDownloadControllers::SetRateLimit(std::int64_t bytesPerSecond) {
    if (auto* const queue = dynamic_cast<HVDownloadControllers*>(this))
        queue->TotalRate().SetRate(bytesPerSecond);
}

namespace {

/// Rows of the controllers of which `test` is true, ascending.
template <typename Test>
std::vector<int> RowsWith(IHVDownloadControllers const& queue, Test test) {
    std::vector<int> rows;
    int const count = queue.GetControllerCount();
    for (int row = 0; row < count; ++row)
        if (auto const controller = queue.GetController(row); controller != nullptr && test(*controller))
            rows.push_back(row);
    return rows;
}

std::vector<int> RowsInState(IHVDownloadControllers const& queue, HVDownloadState state) {
    return RowsWith(queue, [state](auto const& controller) { return controller.State() == state; });
}

/// The rows' controllers, taken before anything is done with one: a function of the application may remove
/// rows, and the indices are those of the moment of the call.
std::vector<std::shared_ptr<IHVDownloadController>> ControllersOf(IHVDownloadControllers& queue,
                                                                  std::vector<int> const& indices) {
    std::vector<std::shared_ptr<IHVDownloadController>> controllers;
    for (int const index : indices)
        if (auto controller = queue.GetController(index))
            controllers.push_back(std::move(controller));
    return controllers;
}

template <typename Call>
void ForRows(IHVDownloadControllers& queue, std::vector<int> const& indices, Call call) {
    for (auto const& controller : ControllersOf(queue, indices))
        call(*controller);
}

bool MayStart(IHVDownloadController const& controller) {
    return controller.State() != HVDownloadStateDone && controller.GetChecked() &&
           controller.State() != HVDownloadStateDownloading;
}

/// A free place for an explicit start. `queue` is null for an implementation that is not the library's.
HVDownloadControllers::Place TakePlace(HVDownloadControllers* queue, IHVDownloadController& controller,
                                       long long free) {
    if (free <= 0)
        return HVDownloadControllers::Place::NoneFree;
    return queue == nullptr ? HVDownloadControllers::Place::Taken : queue->TakePlace(controller);
}

void MakePending(IHVDownloadController& controller) {
    // Another thread may have started it since: a running one is never made to wait.
    if (auto* const concrete = dynamic_cast<HVDownloadController*>(&controller))
        concrete->MakePending();
    else
        controller.PendingDownload();
}

} // namespace

HVDownloadState IHVDownloadControllers::State(int index) const {
    auto const controller = GetController(index);
    return controller == nullptr ? HVDownloadStateNone : controller->State();
}

HVDownloadState IHVDownloadControllers::State(std::vector<int> const& indices) const {
    HVDownloadState result = HVDownloadStateNone;
    for (int const index : indices) {
        HVDownloadState const state = State(index);
        if (result != HVDownloadStateNone && result != state)
            return HVDownloadStateMixed;
        result = state;
    }
    return result;
}

int IHVDownloadControllers::CountOfPendingControllers() const {
    return static_cast<int>(RowsInState(*this, HVDownloadStatePending).size());
}

int IHVDownloadControllers::CountOfDownloadingControllers() const {
    return static_cast<int>(RowsInState(*this, HVDownloadStateDownloading).size());
}

bool IHVDownloadControllers::AnyControllerIsDownloading() const {
    return CountOfDownloadingControllers() > 0;
}

bool IHVDownloadControllers::AllControllerIsDownloading() const {
    return RowsWith(*this,
                    [](auto const& controller) { return controller.State() != HVDownloadStateDownloading; })
        .empty();
}

std::vector<int> IHVDownloadControllers::AllControllers() const {
    return RowsWith(*this, [](auto const&) { return true; });
}

void IHVDownloadControllers::AddController(
    std::initializer_list<std::shared_ptr<IHVDownloadController>> controllers) {
    AddController(std::vector(controllers));
}

void IHVDownloadControllers::InsertController(
    std::initializer_list<std::shared_ptr<IHVDownloadController>> controllers, int index) {
    InsertController(std::vector(controllers), index);
}

bool IHVDownloadControllers::RemoveController(std::initializer_list<int> indices) {
    return RemoveController(std::vector(indices));
}

std::vector<std::shared_ptr<IHVError const>> IHVDownloadControllers::StartDownload(std::vector<int> indices) {
    return StartRows(indices.empty() ? AllControllers() : indices);
}

std::vector<std::shared_ptr<IHVError const>> IHVDownloadControllers::StartAll() {
    return StartRows(AllControllers());
}

std::vector<std::shared_ptr<IHVError const>>
IHVDownloadControllers::StartRows(std::vector<int> const& indices) {
    using Place = HVDownloadControllers::Place;
    auto* const queue = dynamic_cast<HVDownloadControllers*>(this);
    auto const completions = queue == nullptr ? 0 : queue->Completions();
    bool placeWasHeld = false;
    // Wide, since any number may be the limit.
    long long free = queue != nullptr
                         ? queue->CountFreePlaces()
                         : static_cast<long long>(GetConcurrentDownload()) - CountOfDownloadingControllers();
    std::vector<std::shared_ptr<IHVError const>> results;
    for (auto const& controller : ControllersOf(*this, indices)) {
        if (!MayStart(*controller))
            continue;
        switch (TakePlace(queue, *controller, free)) {
        case Place::Taken: {
            HVDownloadControllers::HeldPlace const place(queue, *controller);
            results.push_back(controller->StartDownload());
            --free;
            break;
        }
        case Place::NoneFree:
            MakePending(*controller);
            break;
        case Place::NotWanted:
            // Another thread is about to start it, or gives it up because of a stop that came before us.
            MakePending(*controller);
            placeWasHeld = true;
            break;
        case Place::NoRow:
            break;
        }
    }
    // A run that ended during the walk found the rows behind it not yet Pending.
    if (queue != nullptr && (placeWasHeld || queue->Completions() != completions))
        queue->FillFreePlaces();
    return results;
}

void IHVDownloadControllers::PauseDownload(std::vector<int> indices) {
    if (indices.empty())
        indices = AllControllers();
    ForRows(*this, indices, [](auto& controller) {
        if (controller.State() == HVDownloadStateDownloading)
            controller.PauseDownload();
    });
}

void IHVDownloadControllers::StopDownload(std::vector<int> indices) {
    StopRows(indices.empty() ? AllControllers() : indices);
}

void IHVDownloadControllers::StopAll() {
    StopRows(AllControllers());
}

void IHVDownloadControllers::StopRows(std::vector<int> const& indices) {
    auto const controllers = ControllersOf(*this, indices);
    // First the Pending ones, so that a stopping download can't hand its place to one of the same batch.
    for (auto const& controller : controllers)
        if (controller->State() == HVDownloadStatePending)
            controller->ResetDownload();
    for (auto const& controller : controllers)
        if (controller->State() == HVDownloadStateDownloading)
            controller->StopDownload();
}

int IHVDownloadControllers::WaitFinish(unsigned int milliseconds) const {
    auto const* const queue = dynamic_cast<HVDownloadControllers const*>(this);
    return queue == nullptr || InsideApplicationCall() ? HVErrFailure : queue->WaitUntilIdle(milliseconds);
}

bool IHVDownloadControllers::ExistController(std::shared_ptr<IHVDownloadController const> controller) const {
    return !RowsWith(*this, [&](auto const& entry) { return &entry == controller.get(); }).empty();
}

std::vector<int> IHVDownloadControllers::GetSelected() const {
    return RowsWith(*this, [](auto const& controller) { return controller.GetSelected(); });
}

bool IHVDownloadControllers::GetSelected(int index) const {
    auto const controller = GetController(index);
    return controller != nullptr && controller->GetSelected();
}

void IHVDownloadControllers::SetSelected(bool selected, int index) {
    SetSelected(selected, std::vector{index});
}

void IHVDownloadControllers::SetSelected(bool selected, std::vector<int> const& indices) {
    ForRows(*this, indices, [selected](auto& controller) { controller.SetSelected(selected); });
}

void IHVDownloadControllers::ClearSelected() {
    SetSelected(false, AllControllers());
}

bool IHVDownloadControllers::GetChecked(int index) const {
    auto const controller = GetController(index);
    return controller != nullptr && controller->GetChecked();
}

void IHVDownloadControllers::SetChecked(bool checked, int index) {
    SetChecked(checked, std::vector{index});
}

void IHVDownloadControllers::SetChecked(bool checked, std::vector<int> const& indices) {
    ForRows(*this, indices, [checked](auto& controller) { controller.SetChecked(checked); });
}

void IHVDownloadControllers::ClearChecked() {
    SetChecked(false, AllControllers());
}

} // namespace Halvorn

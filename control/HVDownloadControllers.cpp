#include "HVDownloadControllers.h"

#include "HVDownloadRun.h"

#include <algorithm>
#include <utility>

namespace Halvorn {

namespace {

bool InRange(int index, std::size_t size) {
    return index >= 0 && static_cast<std::size_t>(index) < size;
}

} // namespace

/// The state as it is. IHVDownloadController::State may tell an earlier one inside a function of the
/// application, and a row that only looks Pending would be chosen and refused for ever.
HVDownloadState HVDownloadControllers::Row::State() const {
    return own == nullptr ? controller->State() : own->StateNow();
}

void HVDownloadControllers::SetConcurrentDownload(int count) {
    totalRate_->SetRuns(count);
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
    std::vector<Row> rows;
    for (auto& controller : controllers) {
        auto* const own = dynamic_cast<HVDownloadController*>(controller.get());
        rows.push_back({std::move(controller), own});
    }
    std::lock_guard const lock(mutex_);
    for (auto const& row : rows) {
        if (row.own == nullptr)
            continue;
        row.own->AddOwner(*this);
        row.own->SetPacerOfRuns(pacer_);
        row.own->SetTotalRateOfRuns(totalRate_);
        if (resume_.has_value())
            row.own->SetResume(*resume_);
        if (nameTemplate_.has_value())
            row.own->SetName(*nameTemplate_);
        if (metadata_.has_value())
            row.own->SetMetadata(*metadata_);
        if (archive_.has_value())
            row.own->SetArchiveOfRuns(*archive_);
        // A run that comes back with its row is counted by the row.
        auto const self = row.own->weak_from_this();
        std::erase_if(removedRuns_, [&self](auto const& run) { return run->BelongsTo(self); });
        if (auto const start = starts_.find(row.own); start != starts_.end())
            start->second.removed = false;
    }
    auto const at = std::clamp<std::ptrdiff_t>(index, 0, std::ssize(rows_));
    rows_.insert(rows_.begin() + at, rows.begin(), rows.end());
    KeepRows(at, std::ssize(rows));
}

void HVDownloadControllers::SetResumeOfRows(HVResumeSettings const& settings) {
    std::lock_guard const lock(mutex_);
    resume_ = settings;
    for (auto const& row : rows_)
        if (row.own != nullptr)
            row.own->SetResume(settings);
}

void HVDownloadControllers::SetNameOfRows(std::string const& text) {
    std::lock_guard const lock(mutex_);
    nameTemplate_ = text;
    for (auto const& row : rows_)
        if (row.own != nullptr)
            row.own->SetName(text);
}

void HVDownloadControllers::SetArchiveOfRows(std::shared_ptr<IHVDownloadArchive> const& archive) {
    std::lock_guard const lock(mutex_);
    archive_ = archive;
    for (auto const& row : rows_)
        if (row.own != nullptr)
            row.own->SetArchiveOfRuns(archive);
}

void HVDownloadControllers::SetMetadataOfRows(HVMetadataFiles const& files) {
    std::lock_guard const lock(mutex_);
    metadata_ = files;
    for (auto const& row : rows_)
        if (row.own != nullptr)
            row.own->SetMetadata(files);
}

bool HVDownloadControllers::HasRow(IHVDownloadController const* controller) const {
    return std::any_of(rows_.begin(), rows_.end(),
                       [controller](auto const& row) { return row.controller.get() == controller; });
}

/// Under the lock. The caller holds the controller until after the lock.
void HVDownloadControllers::RemoveRow(std::vector<Row>::iterator row) {
    auto* const own = row->own;
    rows_.erase(row);
    if (own == nullptr || HasRow(own))
        return;
    own->ForgetRow();
    if (auto run = own->RemoveOwner(*this))
        KeepRun(std::move(run));
    if (auto const start = starts_.find(own); start != starts_.end())
        start->second.removed = true;
}

bool HVDownloadControllers::RemoveController(std::shared_ptr<IHVDownloadController> controller) {
    std::lock_guard const lock(mutex_);
    auto const found = std::find_if(rows_.begin(), rows_.end(),
                                    [&](auto const& row) { return row.controller == controller; });
    if (found == rows_.end())
        return false;
    RemoveRow(found);
    return true;
}

bool HVDownloadControllers::RemoveController(int index) {
    std::shared_ptr<IHVDownloadController> removed; // goes after the lock
    std::lock_guard const lock(mutex_);
    if (!InRange(index, rows_.size()))
        return false;
    removed = rows_[static_cast<std::size_t>(index)].controller;
    RemoveRow(rows_.begin() + index);
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
    return static_cast<int>(rows_.size());
}

std::shared_ptr<IHVDownloadController> HVDownloadControllers::GetController(int index) {
    std::lock_guard const lock(mutex_);
    return InRange(index, rows_.size()) ? rows_[static_cast<std::size_t>(index)].controller : nullptr;
}

std::shared_ptr<IHVDownloadController const> HVDownloadControllers::GetController(int index) const {
    std::lock_guard const lock(mutex_);
    return InRange(index, rows_.size()) ? rows_[static_cast<std::size_t>(index)].controller : nullptr;
}

int HVDownloadControllers::IndexOfController(std::shared_ptr<IHVDownloadController> controller) {
    std::lock_guard const lock(mutex_);
    auto const found = std::find_if(rows_.begin(), rows_.end(),
                                    [&](auto const& row) { return row.controller == controller; });
    return found == rows_.end() ? -1 : static_cast<int>(found - rows_.begin());
}

} // namespace Halvorn

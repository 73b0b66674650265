// How a queue and its controllers have their rows stored.

#include "HVDownloadController.h"
#include "HVDownloadControllers.h"
#include "HVFileSystem.h"
#include "HVItemRecord.h"
#include "HVQueueKeeper.h"
#include "IHVDownloadItem.h"

#include <algorithm>
#include <utility>

namespace Halvorn {

HVDownloadControllers::HVDownloadControllers() = default;

HVDownloadControllers::~HVDownloadControllers() = default;

void HVDownloadControllers::SetKeeper(std::unique_ptr<HVQueueKeeper> keeper) {
    std::lock_guard const lock(mutex_);
    keeper_ = std::move(keeper);
}

/// Under the lock.
std::shared_ptr<HVRowKeeper> HVDownloadControllers::NextKeeper(std::ptrdiff_t row, int step) const {
    for (row += step; row >= 0 && row < std::ssize(rows_); row += step)
        if (auto const* const own = rows_[static_cast<std::size_t>(row)].own)
            if (auto keeper = own->Keeper())
                return keeper;
    return nullptr;
}

/// Gives new rows their places in the file. Under the lock.
void HVDownloadControllers::KeepRows(std::ptrdiff_t first, std::ptrdiff_t count) {
    if (keeper_ == nullptr)
        return;
    for (auto row = first; row < first + count; ++row) {
        auto* const own = rows_[static_cast<std::size_t>(row)].own;
        if (own == nullptr || own->Keeper() != nullptr)
            continue;
        auto const make = [&] {
            return keeper_->MakeRow(NextKeeper(row, -1).get(), NextKeeper(row, 1).get());
        };
        auto keeper = make();
        if (keeper == nullptr) {
            SpreadRows();
            keeper = make();
        }
        own->KeepFromNowOn(std::move(keeper));
    }
}

/// Under the lock.
void HVDownloadControllers::SpreadRows() {
    std::vector<std::shared_ptr<HVRowKeeper>> keepers;
    for (auto const& row : rows_)
        if (auto keeper = row.own == nullptr ? nullptr : row.own->Keeper())
            keepers.push_back(std::move(keeper));
    HVQueueKeeper::Spread(keepers);
}

bool HVDownloadControllers::MoveRow(IHVDownloadController const* controller, int index) {
    std::lock_guard const lock(mutex_);
    auto const found = std::find_if(rows_.begin(), rows_.end(), [controller](auto const& row) {
        return row.controller.get() == controller;
    });
    if (found == rows_.end())
        return false;
    Row row = std::move(*found);
    rows_.erase(found);
    auto const at = std::clamp<std::ptrdiff_t>(index, 0, std::ssize(rows_));
    auto* const own = row.own;
    rows_.insert(rows_.begin() + at, std::move(row));
    auto const keeper = own == nullptr ? nullptr : own->Keeper();
    if (keeper == nullptr || keeper_ == nullptr)
        return true;
    if (auto const place = keeper_->Between(NextKeeper(at, -1).get(), NextKeeper(at, 1).get()))
        keeper->MoveTo(*place);
    else
        SpreadRows();
    return true;
}

void HVDownloadController::Restore(HVRowState const& state) {
    auto choice = TakeChoice();
    std::lock_guard const lock(mutex_);
    state_ = state.state;
    lastError_ = state.error;
    resultPath_ = state.file;
    hasRun_ = true;
    progress_.bytes = state.bytes;
    if (state.state != HVDownloadStatePending)
        return;
    progress_ = WaitingFor(choice.get());
    choice_ = std::move(choice);
}

void HVDownloadController::SetKeeper(std::shared_ptr<HVRowKeeper> keeper) {
    Set(keeper_, std::move(keeper));
}

void HVDownloadController::KeepFromNowOn(std::shared_ptr<HVRowKeeper> keeper) {
    HVRowChange values;
    auto const item = Subject();
    values.item = item == nullptr ? std::string() : ItemRecord(*item);
    values.name = GetDownloadOutputName();
    std::string const file = DownloadOutputPathFile();
    auto const options = Get(options_);
    values.options = HVRowKeeper::StoredOptions(options.get());
    // All else in one go with the first change that is told.
    std::lock_guard const lock(mutex_);
    values.state = HVRowState{state_, file, lastError_, progress_.bytes};
    values.checked = checked_;
    values.folder = AbsolutePath(outputPath_);
    values.naming = nameTemplate_;
    if (options != options_)
        values.options = HVRowKeeper::StoredOptions(options_.get());
    values.settings = SettingsRecord(settings_);
    values.whole = std::string();
    keeper_ = std::move(keeper);
    keeper_->Insert(std::move(values));
}

void HVDownloadController::ForgetRow() {
    std::lock_guard const lock(mutex_);
    if (keeper_ != nullptr)
        std::exchange(keeper_, nullptr)->Remove();
}

std::shared_ptr<HVRowKeeper> HVDownloadController::Keeper() const {
    return Get(keeper_);
}

void HVDownloadController::SetOptions(std::shared_ptr<IHVDownloadOptions> options) {
    for (;;) {
        // Records of the application's own are read without the lock.
        auto const keeper = Keeper();
        auto stored = keeper == nullptr ? HVRowOptions() : HVRowKeeper::StoredOptions(options.get());
        std::lock_guard const lock(mutex_);
        if (keeper_ != keeper)
            continue;
        std::swap(options_, options);
        if (keeper != nullptr)
            keeper->OptionsChanged(std::move(stored));
        return;
    }
}

void HVDownloadController::SetDownloadOutputPath(std::string const& path) {
    std::lock_guard const lock(mutex_);
    outputPath_ = path;
    if (keeper_ != nullptr)
        keeper_->FolderChanged(path);
}

void HVDownloadController::SetName(std::string const& text) {
    std::lock_guard const lock(mutex_);
    nameTemplate_ = text;
    if (keeper_ != nullptr)
        keeper_->NamingChanged(text);
}

void HVDownloadController::SetChecked(bool checked) {
    std::lock_guard const lock(mutex_);
    checked_ = checked;
    if (keeper_ != nullptr)
        keeper_->CheckedChanged(checked);
}

} // namespace Halvorn

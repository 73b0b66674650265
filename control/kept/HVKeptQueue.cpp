#include "HVKeptQueue.h"

#include "HVDownloadController.h"
#include "HVFields.h"
#include "HVFileSystem.h"
#include "HVItemRecord.h"
#include "HVOptionsRecord.h"
#include "HVQueueKeeper.h"
#include "HVRowSettings.h"
#include "IHVDownloadArchive.h"
#include "IHVDownloadItem.h"
#include "IHVFileProvider.h"

#include <filesystem>
#include <system_error>
#include <utility>

namespace Halvorn {

namespace {

/// A disk has another number after a restart, or behind another plug.
std::string WithoutDevice(std::string const& identity) {
    return identity.substr(identity.find(' ') + 1);
}

/// The file that was about to get its place when the process ended; empty where it has not got it.
std::string PlacedFile(HVFields const& whole) {
    std::string const identity = WithoutDevice(whole.Get("file"));
    std::error_code failure;
    for (std::filesystem::directory_iterator entry(whole.Get("folder"), failure), end;
         !failure && entry != end; entry.increment(failure))
        if (!identity.empty() && WithoutDevice(FileIdentity(entry->path())) == identity)
            return entry->path();
    return {};
}

/// The row's state when its file is opened after the process that ran it has ended.
HVRowState StateAtOpening(HVStoredRow const& row, bool pause) {
    HVRowState state = row.state;
    if (state.state == HVDownloadStateDownloading && !row.whole.empty())
        if (auto file = PlacedFile(HVFields(row.whole)); !file.empty())
            return {HVDownloadStateDone, std::move(file),
                    IHVError::MallocSucceed("HVKeptQueue", __LINE__, "Open")};
    if (state.state == HVDownloadStateDownloading || state.state == HVDownloadStatePending)
        state.state = pause ? HVDownloadStatePaused : HVDownloadStatePending;
    return state;
}

HVDownloadController* Own(std::shared_ptr<IHVDownloadController> const& controller) {
    return dynamic_cast<HVDownloadController*>(controller.get());
}

} // namespace

HVKeptQueue::HVKeptQueue(std::shared_ptr<HVQueueWriter> writer, HVKeptQueueSettings settings)
    : writer_(std::move(writer)), settings_(std::move(settings)) {
    controllers_->SetResumeOfRows(settings_.resume);
}

void HVKeptQueue::Load(std::vector<HVStoredRow> const& rows, std::int64_t highestNumber) {
    Shared shared;
    std::vector<std::shared_ptr<IHVDownloadController>> controllers;
    controllers.reserve(rows.size());
    for (auto const& row : rows)
        controllers.push_back(MakeRow(row, shared));
    controllers_->AddController(std::move(controllers));
    controllers_->SetKeeper(std::make_unique<HVQueueKeeper>(writer_, highestNumber));
}

std::shared_ptr<HVDownloadController> HVKeptQueue::MakeRow(HVStoredRow const& row, Shared& shared) const {
    // Rows share a bundle where they were given the same.
    auto [known, isNew] = shared.options.try_emplace(row.options);
    if (isNew)
        known->second.first = OptionsOfRecord(row.options, known->second.second);
    auto const item = ItemOfRecord(row.item, row.name);
    item->SetDownloadedFile(row.state.file);
    auto controller = std::make_shared<HVDownloadController>(item, row.folder);
    controller->SetName(row.naming);
    controller->SetOptions(known->second.first);
    controller->SetChecked(row.checked);
    std::string archive;
    auto settings = SettingsOfRecord(row.settings, archive);
    if (!archive.empty()) {
        auto& opened = shared.archives[archive];
        if (opened == nullptr)
            opened = IHVDownloadArchive::MallocDownloadArchive(archive);
        settings.archive = opened;
    }
    controller->ChangeSettings([&settings](HVRowSettings& own) { own = settings; });
    controller->SetJSRuntimePath(settings_.jsRuntimePath);
    HVRowState const state = StateAtOpening(row, settings_.pauseInterrupted);
    controller->Restore(state);
    auto keeper =
        std::make_shared<HVRowKeeper>(writer_, row.number, row.position, row.needs | known->second.second);
    if (state.state != row.state.state)
        keeper->StateChanged(state);
    // The process may have ended between the two steps.
    if (state.state == HVDownloadStateDone && row.state.state != state.state && settings.archive != nullptr)
        settings.archive->Add(*item);
    controller->SetKeeper(std::move(keeper));
    return controller;
}

void HVKeptQueue::Store(std::shared_ptr<IHVDownloadController> const& controller) {
    auto* const own = Own(controller);
    auto const keeper = own == nullptr ? nullptr : own->Keeper();
    if (keeper == nullptr)
        return;
    if (auto const item = own->Subject())
        keeper->ItemChanged(*item);
}

bool HVKeptQueue::Move(std::shared_ptr<IHVDownloadController> const& controller, int index) {
    return controllers_->MoveRow(controller.get(), index);
}

std::int64_t HVKeptQueue::Number(std::shared_ptr<IHVDownloadController> const& controller) const {
    auto const* const own = Own(controller);
    auto const keeper = own == nullptr ? nullptr : own->Keeper();
    return keeper == nullptr ? 0 : keeper->Number();
}

int HVKeptQueue::Needs(std::shared_ptr<IHVDownloadController> const& controller) const {
    auto const* const own = Own(controller);
    auto const keeper = own == nullptr ? nullptr : own->Keeper();
    return keeper == nullptr ? 0 : keeper->Missing();
}

int HVKeptQueue::Close(unsigned int milliseconds) {
    writer_->KeepStates();
    controllers_->StopAll();
    int const waited = controllers_->WaitFinish(milliseconds);
    return writer_->Close() ? waited : HVErrFailure;
}

} // namespace Halvorn

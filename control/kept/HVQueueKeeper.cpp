#include "HVQueueKeeper.h"

#include "HVFields.h"
#include "HVFileSystem.h"
#include "HVItemRecord.h"
#include "HVOptionsRecord.h"
#include "HVRowSettings.h"

namespace Halvorn {

namespace {

/// Between two rows; it halves with each row that comes between the same two.
constexpr std::int64_t kGap = std::int64_t{1} << 32;
/// Milliseconds that a finished file waits for its line: a disk may have to spin up, or have much to write.
constexpr unsigned int kPatience = 20'000;

} // namespace

HVRowChange HVRowKeeper::Change() const {
    HVRowChange change;
    change.number = number_;
    return change;
}

void HVRowKeeper::Insert(HVRowChange values) const {
    values.number = number_;
    values.position = position_;
    values.isNew = true;
    writer_->Enqueue(std::move(values));
}

void HVRowKeeper::Remove() const {
    HVRowChange change = Change();
    change.removed = true;
    writer_->Enqueue(std::move(change));
}

void HVRowKeeper::StateChanged(HVRowState state) const {
    HVRowChange change = Change();
    // What an earlier run had finished is none of this one's.
    if (state.state == HVDownloadStateDownloading)
        change.whole = std::string();
    change.state = std::move(state);
    writer_->Enqueue(std::move(change));
}

void HVRowKeeper::CheckedChanged(bool checked) const {
    HVRowChange change = Change();
    change.checked = checked;
    writer_->Enqueue(std::move(change));
}

void HVRowKeeper::FolderChanged(std::string folder) const {
    HVRowChange change = Change();
    change.folder = AbsolutePath(folder);
    writer_->Enqueue(std::move(change));
}

void HVRowKeeper::NameChanged(std::string name) const {
    HVRowChange change = Change();
    change.name = std::move(name);
    writer_->Enqueue(std::move(change));
}

void HVRowKeeper::NamingChanged(std::string naming) const {
    HVRowChange change = Change();
    change.naming = std::move(naming);
    writer_->Enqueue(std::move(change));
}

HVRowOptions HVRowKeeper::StoredOptions(IHVDownloadOptions const* options) {
    HVRowOptions stored;
    stored.record = OptionsRecord(options, stored.needs);
    return stored;
}

void HVRowKeeper::OptionsChanged(HVRowOptions options) {
    missing_ = 0;
    HVRowChange change = Change();
    change.options = std::move(options);
    writer_->Enqueue(std::move(change));
}

void HVRowKeeper::SettingsChanged(HVRowSettings const& settings) const {
    HVRowChange change = Change();
    change.settings = SettingsRecord(settings);
    writer_->Enqueue(std::move(change));
}

void HVRowKeeper::ItemChanged(IHVDownloadItem const& item) const {
    HVRowChange change = Change();
    change.item = ItemRecord(item);
    change.name = item.GetFileName();
    writer_->Enqueue(std::move(change));
}

std::shared_ptr<IHVError const> HVRowKeeper::FileIsWhole(std::string const& path,
                                                         std::string const& folder) const {
    HVRowChange change = Change();
    HVFields fields;
    fields.SetText("file", FileIdentity(path));
    fields.SetText("folder", folder);
    change.whole = fields.Text();
    bool const open = writer_->Enqueue(std::move(change));
    int const stored = open ? writer_->Flush(kPatience) : HVErrFailure;
    if (stored == HVErrSuccess)
        return nullptr;
    if (auto failure = writer_->LastError())
        return failure;
    return IHVError::MallocError("HVRowKeeper", __LINE__, "FileIsWhole", -1, "Error",
                                 stored == HVErrTimeout ? "The disk takes too long to store the queue"
                                                        : "The queue has been closed");
}

void HVRowKeeper::MoveTo(std::int64_t position) {
    position_ = position;
    HVRowChange change = Change();
    change.position = position;
    writer_->Enqueue(std::move(change));
}

std::optional<std::int64_t> HVQueueKeeper::Between(HVRowKeeper const* before, HVRowKeeper const* after) {
    if (before == nullptr || after == nullptr)
        return before != nullptr  ? before->Position() + kGap
               : after != nullptr ? after->Position() - kGap
                                  : 0;
    std::int64_t const half = (after->Position() - before->Position()) / 2;
    return half == 0 ? std::nullopt : std::optional<std::int64_t>(before->Position() + half);
}

std::shared_ptr<HVRowKeeper> HVQueueKeeper::MakeRow(HVRowKeeper const* before, HVRowKeeper const* after) {
    auto const position = Between(before, after);
    return position.has_value() ? std::make_shared<HVRowKeeper>(writer_, ++highest_, *position, 0) : nullptr;
}

void HVQueueKeeper::Spread(std::vector<std::shared_ptr<HVRowKeeper>> const& rows) {
    std::int64_t position = 0;
    for (auto const& row : rows)
        row->MoveTo(position += kGap);
}

} // namespace Halvorn

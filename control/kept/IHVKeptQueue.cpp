#include "IHVKeptQueue.h"

#include "HVConstants.h"
#include "HVDownloadItem.h"
#include "HVExplainedError.h"
#include "HVFileLock.h"
#include "HVFileSystem.h"
#include "HVItemRecord.h"
#include "HVKeptQueue.h"
#include "HVOptionsRecord.h"
#include "HVQueueFile.h"
#include "HVQueueWriter.h"
#include "HVRename.h"
#include "IHVDownloadItem.h"

#include <utility>

namespace Halvorn {

namespace {

constexpr char kFile[] = "IHVKeptQueue";
/// Beside the file. It stays: a process that removed it might remove another one's.
constexpr char kLock[] = "-lock";
constexpr char kAside[] = ".aside";
constexpr int kMostAside = 1000;

std::shared_ptr<IHVError const> Failure(std::string const& message, HVErrorKind kind) {
    return FaultError(kFile, __LINE__, "Open", message, FaultOfKind(kind));
}

std::unique_ptr<HVFileLock> Lock(std::string const& file, std::shared_ptr<IHVError const>& error) {
    int holder = 0;
    int number = MakeFolders(FolderOfPath(file));
    auto lock = number == 0 ? HVFileLock::Take(file + kLock, holder, number) : nullptr;
    if (lock != nullptr)
        return lock;
    if (holder == 0)
        error = Failure("The queue \"" + file + "\" can't be made: " + FileErrorReason(number),
                        number == ENOSPC ? HVErrorKindDiskFull : HVErrorKindNoPermission);
    else
        error = Failure(
            "The queue \"" + file + "\" is in use by " +
                (holder < 0 ? std::string("another process") : "the process " + std::to_string(holder)) +
                "; end that one, or use another file",
            HVErrorKindOther);
    return nullptr;
}

HVKeptRow RowOf(HVStoredRow& stored) {
    HVKeptRow row;
    row.number = stored.number;
    row.state = stored.state.state;
    row.checked = stored.checked;
    auto const item = ItemOfRecord(stored.item, stored.name);
    row.address = item->DownloadURL().empty() ? item->GetPlaylistURL() : item->DownloadURL();
    row.title = item->GetFileName() == kUnknownName ? row.address : item->GetFileName();
    if (auto const format = item->GetCurrentDownloadFormat()) {
        row.format = format->FormatCode();
        row.formatText = format->Description();
    }
    row.folder = std::move(stored.folder);
    row.file = std::move(stored.state.file);
    row.error = std::move(stored.state.error);
    row.needs = stored.needs;
    OptionsOfRecord(stored.options, row.needs);
    return row;
}

} // namespace

std::string KeptNeedText(int needs) {
    struct {
        HVKeptNeed need;
        char const* text;
    } constexpr kTexts[] = {{HVKeptNeedLogin, "a login"},
                            {HVKeptNeedVideoPassword, "the video's password"},
                            {HVKeptNeedCookies, "its cookies file, which is gone"},
                            {HVKeptNeedProxyPassword, "the proxy's password"}};
    std::string text;
    for (auto const& one : kTexts)
        if ((needs & one.need) != 0)
            text.append(text.empty() ? "" : ", ").append(one.text);
    return text;
}

std::shared_ptr<IHVKeptQueue> IHVKeptQueue::Open(std::string const& file, HVKeptQueueSettings const& settings,
                                                 std::shared_ptr<IHVError const>& error) {
    auto lock = Lock(file, error);
    auto opened = lock == nullptr ? nullptr : HVQueueFile::Open(file, false, error);
    if (opened == nullptr)
        return nullptr;
    std::vector<HVStoredRow> rows;
    std::int64_t highest = 0;
    error = opened->Read(rows, highest);
    if (error != nullptr)
        return nullptr;
    auto writer = std::make_shared<HVQueueWriter>(std::move(opened), std::move(lock));
    error = writer->Start();
    if (error != nullptr)
        return nullptr;
    auto queue = std::make_shared<HVKeptQueue>(std::move(writer), settings);
    queue->Load(rows, highest);
    error = IHVError::MallocSucceed(kFile, __LINE__, "Open");
    return queue;
}

std::shared_ptr<IHVError const> IHVKeptQueue::PutAside(std::string const& file, std::string& newName) {
    std::shared_ptr<IHVError const> error;
    auto const lock = Lock(file, error);
    if (lock == nullptr)
        return error;
    for (int number = 0; number < kMostAside; ++number) {
        newName = file + kAside + (number == 0 ? "" : std::to_string(number));
        int const failure = RenameFile(file, newName, false);
        if (failure == EEXIST)
            continue;
        if (failure != 0)
            return Failure("The queue \"" + file + "\" can't be put aside: " + FileErrorReason(failure),
                           HVErrorKindNoPermission);
        // They are part of it: what was stored last may be in them alone.
        for (char const* const part : {"-wal", "-shm"})
            RenameFile(file + part, newName + part, false);
        return IHVError::MallocSucceed(kFile, __LINE__, "PutAside");
    }
    return Failure("The queue \"" + file + "\" can't be put aside: too many stand there",
                   HVErrorKindNameImpossible);
}

std::vector<HVKeptRow> IHVKeptQueue::ReadRows(std::string const& file,
                                              std::shared_ptr<IHVError const>& error) {
    std::vector<HVKeptRow> rows;
    error = IHVError::MallocSucceed(kFile, __LINE__, "ReadRows");
    if (!AnyEntryExists(file))
        return rows;
    std::shared_ptr<IHVError const> failure;
    auto const opened = HVQueueFile::Open(file, true, failure);
    std::vector<HVStoredRow> stored;
    std::int64_t highest = 0;
    if (opened != nullptr)
        failure = opened->Read(stored, highest);
    if (failure != nullptr)
        error = failure;
    else
        for (auto& row : stored)
            rows.push_back(RowOf(row));
    return rows;
}

int IHVKeptQueue::Holder(std::string const& file) {
    return HVFileLock::Holder(file + kLock);
}

} // namespace Halvorn

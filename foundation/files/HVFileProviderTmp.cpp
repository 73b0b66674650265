#include "HVFileMove.h"
#include "HVFinishedFile.h"
#include "HVLateLog.h"
#include "HVProcessEnd.h"
#include "HVTmpFolder.h"
#include "IHVFileProvider.h"
#include "IHVLogConfig.h"
#include "IHVThread.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace Halvorn {

namespace {

/// Of this process: a forked copy makes one of its own. Never destroyed: a download may ask for it until the
/// very end of the process.
struct TmpFolder {
    std::mutex mutex;
    HVTmpFolder folder;
    std::shared_ptr<IHVThread> cleaner; ///< removes what killed processes left
    bool ended = false;                 ///< the process is ending: a new folder would stay behind

    static TmpFolder& Shared();
    static void LockForFork();
    static void UnlockAfterFork();
    static void ForgetInCopy();
};

std::atomic<TmpFolder*> gTmpFolder = nullptr;
/// What this thread has locked for its fork.
thread_local TmpFolder* tLockedForFork = nullptr;

TmpFolder& TmpFolder::Shared() {
    if (TmpFolder* const folder = gTmpFolder)
        return *folder;
    static bool const forkIsHandled =
        (SetForkFunctions(HVForkPlace::TmpFolder, {LockForFork, UnlockAfterFork, ForgetInCopy}), true);
    static_cast<void>(forkIsHandled);
    auto fresh = std::make_unique<TmpFolder>();
    TmpFolder* expected = nullptr;
    if (gTmpFolder.compare_exchange_strong(expected, fresh.get()))
        expected = fresh.release();
    return *expected;
}

void TmpFolder::LockForFork() {
    tLockedForFork = &Shared();
    tLockedForFork->mutex.lock();
}

void TmpFolder::UnlockAfterFork() {
    tLockedForFork->mutex.unlock();
}

/// The folder stays the parent's: a copy that lives longer must not keep it from being removed.
void TmpFolder::ForgetInCopy() {
    gTmpFolder = nullptr;
    tLockedForFork->folder.CloseInCopy();
}

/// How long the end of the process waits for moves to other file systems.
constexpr std::chrono::seconds kMovesWait{3};
/// How long the end of the process waits for the cleaner: a short run would else never get it done.
constexpr unsigned int kCleanerMilliseconds = 2000;

void EndTmpFolder() {
    auto& shared = TmpFolder::Shared();
    if (!shared.folder.IsOwn())
        return;
    // Before the mutex, which moves take as well.
    EndFileMoves(kMovesWait);
    std::lock_guard const lock(shared.mutex);
    shared.folder.End();
    shared.ended = true;
    if (shared.cleaner != nullptr)
        shared.cleaner->WaitEnd(kCleanerMilliseconds);
}

/// Name in the temporary folder of a path in it, or empty.
std::string NameIn(std::string const& folder, std::string const& path) {
    if (folder.empty() || path.compare(0, folder.size() + 1, folder + "/") != 0)
        return {};
    std::string const rest = path.substr(folder.size() + 1);
    return rest.substr(0, rest.find('/'));
}

void KeepInTmpFolder(std::string const& path, std::vector<std::string> sides, std::string const& record) {
    auto& shared = TmpFolder::Shared();
    bool kept = false;
    {
        std::lock_guard const lock(shared.mutex);
        auto const& folder = shared.folder.Path();
        for (auto& side : sides)
            side = NameIn(folder, side);
        kept = shared.folder.Keep(NameIn(folder, path), sides, record);
    }
    if (!kept)
        IHVLogConfig::Printf(IHVLogConfig::LogLevelWarning,
                             "A later start may remove the finished file \"%s\": no room for its record",
                             path.c_str());
}

} // namespace

std::string SystemTmpFolder() {
    char const* const folder = std::getenv("TMPDIR");
    // A relative one would follow a later change of the working folder; and the tool reads a path as a
    // template.
    bool const usable = folder != nullptr && *folder == '/' && std::strpbrk(folder, "%$~") == nullptr;
    return usable && IsFolder(folder) ? folder : "/tmp";
}

std::string IHVFileProvider::GetTmpPath() {
    auto& shared = TmpFolder::Shared();
    HVLoggingLock const lock(shared.mutex);
    if (shared.folder.Usable())
        return shared.folder.Path();
    if (shared.ended)
        return {};
    std::string const parent = SystemTmpFolder();
    if (!shared.folder.Make(parent)) {
        IHVLogConfig::Printf(IHVLogConfig::LogLevelError, "Can't make a temporary folder in \"%s\"",
                             parent.c_str());
        return {};
    }
    SetProcessEndFunction(HVEndStage::Files, EndTmpFolder);
    if (shared.cleaner == nullptr) {
        // On its own thread: removing gigabytes takes time, and so does taking finished downloads home.
        shared.cleaner = IHVThread::MallocThread([parent] { RemoveDeadTmpFolders(parent); });
        shared.cleaner->Start();
    }
    return shared.folder.Path();
}

void IHVFileProvider::KeepTmpFile(std::string const& path) {
    KeepInTmpFolder(path, {}, {});
}

void KeepFinishedFile(HVFinishedFile const& file) {
    std::vector<std::string> sides;
    for (auto const& side : file.sides)
        sides.push_back(side.path);
    KeepInTmpFolder(file.path, std::move(sides), file.Record());
}

void ForgetKeptFile(std::string const& path) {
    auto& shared = TmpFolder::Shared();
    std::lock_guard const lock(shared.mutex);
    shared.folder.Forget(NameIn(shared.folder.Path(), path));
}

void IHVFileProvider::RemoveTmpFiles(std::string const& stem) {
    auto& shared = TmpFolder::Shared();
    std::string folder;
    std::set<std::string> kept;
    {
        // Not while gigabytes are removed: other downloads must not wait for that.
        std::lock_guard const lock(shared.mutex);
        if (!shared.folder.IsOwn())
            return;
        folder = shared.folder.Path();
        kept = shared.folder.Kept();
    }
    HVTmpFolder::RemoveEntries(folder, stem, kept);
}

} // namespace Halvorn

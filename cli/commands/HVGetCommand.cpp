#include "HVGetCommand.h"

#include "HVAnalyses.h"
#include "HVChoice.h"
#include "HVDownloads.h"
#include "HVFailure.h"
#include "HVFolder.h"
#include "HVItemText.h"
#include "HVJsonText.h"
#include "HVKeptFile.h"
#include "HVProgressDisplay.h"
#include "HVRequest.h"
#include "HVRunningCookies.h"
#include "HVSession.h"
#include "HVSkips.h"
#include "HVToolSetUp.h"

#include <Reelhaul/IHVConversionOptions.h>

#include <filesystem>
#include <memory>

namespace Halvorn {

namespace {

/// What an interrupted download left and nobody has gone on with is removed after that.
constexpr int kDaysKept = 30;

class GetCommand {
public:
    GetCommand(HVSession& session, HVRequest const& request, std::shared_ptr<IHVKeptQueue> const& kept)
        : session_(session), request_(request), display_(session.Console()),
          downloads_(session, request, display_, kept), skips_(session, request),
          ranges_(HVItemRanges::Parse(request.items).value_or(HVItemRanges())),
          analyses_(session.Queue(), request, Listener(), [this] { BeginAddress(); }) {}

    int Run();

private:
    /// The addresses are analysed while items of earlier ones download already.
    HVAnalysis::Listener Listener();
    void BeginAddress();
    void ItemLoaded(std::shared_ptr<IHVDownloadItem> const& item);
    /// Why the chosen format can't be made into a file, and the kind of that.
    std::string FaultOfMaking(IHVDownloadItem const& item, HVErrorKind& kind) const;
    void AnalysisDone(std::shared_ptr<IHVError const> const& error);
    void EntryFailed(IHVDownloadTask::FailedEntry const& entry);
    /// What is to be said of a playlist besides. Returns whether it or one of its entries has failed.
    bool TellOfEntries();
    /// Of the address under way, or of an entry of its playlist.
    void Fail(HVFailure failure, IHVDownloadTask::FailedEntry const* entry = nullptr);
    /// What is recorded is finished first; the rest ends.
    bool Finish();
    bool Ending() const { return finishing_ || session_.Ending(); }
    HVListedAddress const& Address() const { return analyses_.Address(); }
    std::string const& URL() const { return Address().url; }

    HVSession& session_;
    HVRequest const& request_;
    HVProgressDisplay display_;
    HVDownloads downloads_;
    HVSkips skips_;
    HVItemRanges ranges_;
    bool failed_ = false;
    bool finishing_ = false;
    bool cutShort_ = false; ///< something was left out for the finish
    // Of the address that reports.
    bool isPlayList_ = false;
    int itemCount_ = 0;
    std::size_t failedEntries_ = 0;
    std::string title_;
    HVAnalyses analyses_; ///< behind what its listener uses
};

int GetCommand::Run() {
    session_.FinishFirst([this] { return Finish(); });
    if (request_.keep && !request_.addOnly)
        downloads_.AddWaiting();
    analyses_.Start();
    int const early = session_.Run({[this] { return analyses_.AllDone() && downloads_.AllOver(); },
                                    [this] {
                                        downloads_.Tick();
                                        display_.Refresh();
                                    },
                                    [this] {
                                        analyses_.Stop();
                                        downloads_.StopAll();
                                    }});
    session_.FinishFirst({});
    skips_.TellAll();
    if (std::uint64_t const kept = request_.goOn && !request_.keep ? downloads_.KeptBytes() : 0; kept > 0)
        session_.Console().Always("Kept " + SizeText(kept) +
                                  " of what is not finished. The same command goes on with it, and with "
                                  "--discard removes it.");
    if (request_.keep && !request_.addOnly && (early == HVExitInterrupted || finishing_))
        session_.Console().Always(kGoesOn);
    if (early != HVExitDone)
        return early;
    downloads_.TellTotal();
    if (finishing_ && (cutShort_ || downloads_.AnyCancelled())) {
        session_.Console().Always("Interrupted.");
        return session_.FinalStatus(HVExitInterrupted);
    }
    return session_.FinalStatus(failed_ || downloads_.AnyFailed() ? HVExitFailed : HVExitDone);
}

bool GetCommand::Finish() {
    if (!downloads_.FinishRecordings())
        return false;
    finishing_ = true;
    cutShort_ = !analyses_.AllDone();
    analyses_.Stop();
    return true;
}

HVAnalysis::Listener GetCommand::Listener() {
    return {[this](std::string const& message) {
                if (analyses_.Current().EntryCount() > 0)
                    display_.SetActivity(message);
            },
            [this](std::shared_ptr<IHVDownloadItem> item) { ItemLoaded(item); },
            [this](std::shared_ptr<IHVPlayList> playList) {
                isPlayList_ = true;
                title_ = playList->GetTitle();
            },
            [this](IHVDownloadTask::FailedEntry const& entry) { EntryFailed(entry); },
            [this](std::shared_ptr<IHVError const> error) { AnalysisDone(error); },
            {},
            [this](HVListEntry const& entry) { skips_.Entry(entry); }};
}

void GetCommand::BeginAddress() {
    isPlayList_ = false;
    itemCount_ = 0;
    failedEntries_ = 0;
    title_.clear();
    display_.SetActivity(ActivityOf(analyses_));
}

std::string GetCommand::FaultOfMaking(IHVDownloadItem const& item, HVErrorKind& kind) const {
    auto const conversion = request_.options->GetConversionOptions();
    bool const converts = conversion != nullptr && !conversion->Empty();
    kind = HVErrorKindOther;
    if (converts)
        if (auto const outcome = conversion->Check(item); !outcome->Succeed())
            return outcome->GetErrorMessage();
    kind = HVErrorKindFfmpegMissing;
    // Without ffmpeg the tool fetches both parts and then calls it a success.
    return converts || item.GetCurrentDownloadFormat()->MergeFormat() ? FfmpegFault(request_) : std::string();
}

void GetCommand::ItemLoaded(std::shared_ptr<IHVDownloadItem> const& item) {
    if (Ending())
        return;
    ++itemCount_;
    title_ = item->GetFileName();
    int const entry = item->GetEntryIndexOfPlayList() + 1;
    auto const list = item->GetPlayList();
    if (entry > 0 && !ranges_.Contains(entry, list ? list->EntryCount() : 0))
        return;
    if (!request_.discard && skips_.SkipKnown(*item))
        return;
    HVErrorKind kind = HVErrorKindFormatUnavailable;
    std::string fault = ChooseFormat(*item, request_);
    if (fault.empty() && !request_.subtitle.empty())
        fault = ChooseSubtitles(*item, request_);
    if (fault.empty() && request_.discard) {
        kind = HVErrorKindOther;
        fault = downloads_.Discard(item);
    } else if (fault.empty() && !request_.addOnly) {
        fault = FaultOfMaking(*item, kind);
    }
    std::string const existing = fault.empty() && !request_.discard ? downloads_.Add(item) : std::string();
    if (!fault.empty() || !existing.empty())
        skips_.Release(*item);
    if (!fault.empty())
        Fail({item->GetFileName() + ": " + fault, kind});
    else if (!existing.empty())
        skips_.Existing(*item, existing);
}

void GetCommand::AnalysisDone(std::shared_ptr<IHVError const> const& error) {
    display_.SetActivity({});
    if (Ending()) // a stopped analysis reports a failure or a success, as it happens; neither is news
        return;
    if (error->Succeed()) {
        if (request_.json)
            session_.Console().Out(EventLine("analysed", {{"url", URL()},
                                                          {"kind", isPlayList_ ? "playlist" : "item"},
                                                          {"title", title_},
                                                          {"items", itemCount_}}));
        if (isPlayList_)
            TellOfEntries();
    } else if (!TellOfEntries()) { // of a playlist, the task's own error is that of the last entry
        Fail(FailureOf(*error, request_));
    }
}

void GetCommand::EntryFailed(IHVDownloadTask::FailedEntry const& entry) {
    if (Ending() || (entry.level == 0 && !ranges_.Contains(entry.number, analyses_.Current().ListedCount())))
        return;
    ++failedEntries_;
    Fail(FailureOf(*entry.error, request_), &entry);
}

bool GetCommand::TellOfEntries() {
    if (std::string const text = FailedEntriesText(failedEntries_, analyses_.Current().EntryCount());
        !text.empty())
        session_.Console().Note(URL() + ": " + text);
    int const count = analyses_.Current().ListedCount() > 0 ? analyses_.Current().ListedCount()
                                                            : analyses_.Current().EntryCount();
    int const beyond = count > 0 ? ranges_.FirstBeyond(count) : 0;
    if (beyond > 0)
        Fail({"there is no item " + std::to_string(beyond) + "; the playlist has " + std::to_string(count)});
    return failedEntries_ > 0 || beyond > 0;
}

void GetCommand::Fail(HVFailure failure, IHVDownloadTask::FailedEntry const* entry) {
    failed_ = true;
    failure.message = session_.WithLoggedErrors(failure.message);
    if (request_.json) {
        std::vector<HVJsonField> fields = failure.Fields();
        fields.insert(fields.begin(), {"url", URL()});
        if (entry != nullptr) {
            fields.emplace_back("item", entry->number);
            fields.emplace_back("item_url", entry->url);
        }
        if (!Address().place.empty())
            fields.emplace_back("source", Address().place);
        session_.Console().Out(EventLine("failed", fields));
    }
    session_.Console().Error(NameOf(Address()) + ": " + (entry != nullptr ? EntryName(*entry) + ": " : "") +
                             failure.Line());
}

HVFailure OpenArchive(HVRequest& request) {
    if (request.archiveFile.empty())
        return {};
    request.archive = IHVDownloadArchive::MallocDownloadArchive(request.archiveFile);
    auto const opened = request.archive->Open();
    return opened->Succeed() ? HVFailure{} : HVFailure{opened->GetErrorMessage(), opened->GetKind()};
}

/// Puts the addresses themselves into the queue.
int AddLater(HVSession& session, HVRequest const& request, std::shared_ptr<IHVKeptQueue> const& kept) {
    HVProgressDisplay display(session.Console());
    HVDownloads downloads(session, request, display, kept);
    for (HVListedAddress const& address : request.addresses)
        downloads.Add(IHVDownloadItem::MallocDownloadItem(address.url));
    return session.FinalStatus(HVExitDone);
}

int RunWith(HVSession& session, HVRequest& request, std::shared_ptr<IHVKeptQueue> const& kept) {
    HVFailure failure{request.later ? std::string() : SetUpTools(request), HVErrorKindToolMissing};
    if (failure.message.empty())
        failure = {MakeFolder(request.folder, HVFolderUse::Files), HVErrorKindNoPermission};
    if (failure.message.empty())
        failure = OpenArchive(request);
    if (!failure.message.empty()) {
        if (request.json)
            session.Console().Out(EventLine("failed", failure.Fields()));
        session.Console().Error(failure.message); // it tells the remedy itself
        return HVExitFailed;
    }
    if (request.later)
        return AddLater(session, request, kept);
    IHVDownloadControllers::SweepPartial(request.folder, kDaysKept);
    // An analysis and a download at least.
    WarmTool(request);
    HVRunningCookies cookies;
    if (int const status = cookies.Ask(session, request); status != HVExitDone)
        return status;
    return GetCommand(session, request, kept).Run();
}

} // namespace

int RunGet(HVSession& session, HVRequest& request) {
    if (!request.keep)
        return RunWith(session, request, nullptr);
    // Rows outlive this call, which stands in another folder perhaps.
    request.folder = std::filesystem::absolute(request.folder).lexically_normal();
    auto const kept = OpenKeptQueue(session, request);
    if (kept == nullptr)
        return HVExitFailed;
    int const status = RunWith(session, request, kept);
    return CloseKeptQueue(session, request, *kept, status);
}

} // namespace Halvorn

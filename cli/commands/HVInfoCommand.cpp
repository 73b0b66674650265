#include "HVInfoCommand.h"

#include "HVAnalyses.h"
#include "HVChoice.h"
#include "HVFailure.h"
#include "HVItemText.h"
#include "HVJsonText.h"
#include "HVProgressDisplay.h"
#include "HVRequest.h"
#include "HVRunningCookies.h"
#include "HVSession.h"
#include "HVToolSetUp.h"

#include <memory>
#include <utility>

namespace Halvorn {

namespace {

/// One address alone is done sooner without the start of a tool that stays.
constexpr std::size_t kRunsWorthIt = 3;

class InfoCommand {
public:
    InfoCommand(HVSession& session, HVRequest const& request)
        : session_(session), request_(request), display_(session.Console()),
          analyses_(session.Queue(), request, Listener(), [this] { BeginAddress(); }) {}

    int Run();

private:
    void Print(std::vector<std::string> const& lines) {
        for (std::string const& line : lines)
            session_.Console().Out(line);
    }
    void ShowItem(std::shared_ptr<IHVDownloadItem> const& item);
    void ShowEntries(IHVPlayList const& playList, std::vector<HVListEntry> const& entries);
    void ShowHead(IHVPlayList const& playList);
    void ShowPlayList(std::shared_ptr<IHVPlayList> const& playList);
    void Done(std::shared_ptr<IHVError const> const& error);
    HVAnalysis::Listener Listener();
    void BeginAddress();
    HVListedAddress const& Address() const { return analyses_.Address(); }
    void Tell(std::string const& front, IHVError const& error) {
        HVFailure failure = FailureOf(error, request_);
        failure.message = session_.WithLoggedErrors(failure.message);
        session_.Console().Error(NameOf(Address()) + ": " + front + failure.Line());
    }
    void Fail(IHVError const& error) {
        Tell({}, error);
        status_ = HVExitFailed;
    }

    HVSession& session_;
    HVRequest const& request_;
    HVProgressDisplay display_;
    /// The list whose head stands above what is printed now; never used but to compare.
    void const* headShown_ = nullptr;
    int status_ = HVExitDone;
    HVAnalyses analyses_; ///< behind what its listener uses
};

HVAnalysis::Listener InfoCommand::Listener() {
    return {[this](std::string const& message) {
                // Without a terminal the items themselves tell how far it is.
                if (session_.Console().Live() && analyses_.Current().EntryCount() > 0)
                    display_.SetActivity(message);
            },
            [this](std::shared_ptr<IHVDownloadItem> item) { ShowItem(item); },
            [this](std::shared_ptr<IHVPlayList> playList) { ShowPlayList(playList); },
            [this](IHVDownloadTask::FailedEntry const& entry) {
                if (!session_.Ending())
                    Tell(EntryName(entry) + ": ", *entry.error);
            },
            [this](std::shared_ptr<IHVError const> error) { Done(error); },
            [this](std::shared_ptr<IHVPlayList const> playList, std::vector<HVListEntry> const& entries) {
                ShowEntries(*playList, entries);
            }};
}

void InfoCommand::BeginAddress() {
    headShown_ = nullptr;
    if (session_.Console().Live())
        display_.SetActivity(ActivityOf(analyses_));
}

int InfoCommand::Run() {
    if (request_.addresses.size() >= kRunsWorthIt)
        WarmTool(request_);
    analyses_.Start();
    int const early = session_.Run({[this] { return analyses_.AllDone(); }, [this] { display_.Refresh(); },
                                    [this] { analyses_.Stop(); }});
    return early != HVExitDone ? early : session_.FinalStatus(status_);
}

void InfoCommand::ShowItem(std::shared_ptr<IHVDownloadItem> const& item) {
    bool const entry = item->GetEntryIndexOfPlayList() >= 0;
    if (request_.json) {
        if (!entry)
            session_.Console().Out(ItemDocument(*item, request_.allFormats));
        return;
    }
    if (!entry) {
        Print(ItemLines(*item, request_.allFormats));
        return;
    }
    if (auto const playList = item->GetPlayList())
        ShowHead(*playList);
    session_.Console().Out(EntryLine(*item));
}

void InfoCommand::ShowHead(IHVPlayList const& playList) {
    // The items of a list inside the list stand below its own head.
    if (std::exchange(headShown_, &playList) != &playList)
        Print(PlayListHeadLines(playList));
}

void InfoCommand::ShowEntries(IHVPlayList const& playList, std::vector<HVListEntry> const& entries) {
    if (!request_.listOnly) {
        // There is a run for each entry.
        if (entries.size() >= kRunsWorthIt)
            WarmTool(request_);
        return;
    }
    if (!request_.json)
        ShowHead(playList);
    for (HVListEntry const& entry : entries)
        session_.Console().Out(request_.json ? EntryDocument(entry) : EntryLine(entry));
}

void InfoCommand::ShowPlayList(std::shared_ptr<IHVPlayList> const& playList) {
    if (request_.listOnly)
        return;
    if (request_.json)
        session_.Console().Out(
            PlayListDocument(*playList, analyses_.Current().FailedEntries(), request_.allFormats));
    else if (headShown_ == nullptr) // from tables a playlist comes at its end
        ShowHead(*playList);
}

void InfoCommand::Done(std::shared_ptr<IHVError const> const& error) {
    display_.SetActivity({});
    display_.Refresh();
    if (session_.Ending())
        return;
    std::size_t const failed = analyses_.Current().FailedEntries().size();
    if (!error->Succeed() && failed == 0)
        Fail(*error);
    else if (!error->Succeed()) // the task's own error is that of the last entry
        status_ = HVExitFailed;
    if (std::string const text = FailedEntriesText(failed, analyses_.Current().EntryCount()); !text.empty())
        session_.Console().Note(Address().url + ": " + text);
}

} // namespace

int RunInfo(HVSession& session, HVRequest& request) {
    if (std::string const fault = SetUpTools(request); !fault.empty()) {
        session.Console().Error(fault);
        return HVExitFailed;
    }
    request.listOnly = request.flat;
    HVRunningCookies cookies;
    if (int const status = cookies.Ask(session, request); status != HVExitDone)
        return status;
    return InfoCommand(session, request).Run();
}

} // namespace Halvorn

#include "HVQueueCommand.h"

#include "HVDownloads.h"
#include "HVFailure.h"
#include "HVGetCommand.h"
#include "HVJsonText.h"
#include "HVKeptFile.h"
#include "HVProgressDisplay.h"
#include "HVRequest.h"
#include "HVSession.h"
#include "HVTableText.h"
#include "HVToolSetUp.h"

#include <Reelhaul/IHVDownloadItem.h>

#include <algorithm>
#include <functional>
#include <set>
#include <string>
#include <vector>

namespace Halvorn {

namespace {

using Controller = std::shared_ptr<IHVDownloadController>;

/// One word for a program and for a person.
std::string StateWord(HVDownloadState state, IHVError const* error, bool running) {
    switch (state) {
    case HVDownloadStateDone:
        return error != nullptr && error->Succeed() ? "done" : "failed";
    case HVDownloadStatePaused:
        return "paused";
    case HVDownloadStateDownloading:
        return running ? "running" : "waiting";
    default:
        return "waiting";
    }
}

std::vector<HVJsonField> FieldsOf(HVKeptRow const& row, std::string const& state) {
    std::vector<HVJsonField> fields{{"row", row.number},  {"state", state},       {"title", row.title},
                                    {"url", row.address}, {"format", row.format}, {"folder", row.folder}};
    if (!row.file.empty())
        fields.emplace_back("path", row.file);
    if (state == "failed" && row.error != nullptr)
        for (auto const& field : HVFailure{row.error->GetPlainMessage(), row.error->GetKind(),
                                           row.error->CanRetry(), row.error->GetRetryDelay()}
                                     .Fields())
            fields.push_back(field);
    if (row.needs != HVKeptNeedNone)
        fields.emplace_back("needs", KeptNeedText(row.needs));
    return fields;
}

std::string Remark(HVKeptRow const& row, std::string const& state) {
    if (state == "done")
        return row.file;
    std::string remark = state == "failed" && row.error != nullptr ? row.error->GetPlainMessage() : "";
    if (row.needs != HVKeptNeedNone)
        remark.append(remark.empty() ? "" : "; ").append("needs " + KeptNeedText(row.needs));
    return remark;
}

/// The rows that the user named, or all. Tells of numbers that no row has.
class Chosen {
public:
    Chosen(HVSession& session, HVRequest const& request, IHVKeptQueue const& kept) {
        auto const queue = kept.Controllers();
        std::set<std::int64_t> wanted(request.rows.begin(), request.rows.end());
        bool const all = wanted.empty();
        for (int const row : queue->AllControllers()) {
            auto const controller = queue->GetController(row);
            if (wanted.erase(kept.Number(controller)) != 0 || all)
                controllers.push_back(controller);
        }
        for (std::int64_t const number : wanted)
            session.Console().Error("there is no row " + std::to_string(number) + " in the queue");
        complete = wanted.empty();
    }

    std::vector<Controller> controllers;
    bool complete;
};

/// Opens the queue, has it changed, and stores that.
int Change(HVSession& session, HVRequest& request,
           std::function<void(IHVKeptQueue&, std::vector<Controller> const&)> const& change) {
    auto const kept = OpenKeptQueue(session, request);
    if (kept == nullptr)
        return HVExitFailed;
    Chosen const chosen(session, request, *kept);
    change(*kept, chosen.controllers);
    int const status = CloseKeptQueue(session, request, *kept, chosen.complete ? HVExitDone : HVExitFailed);
    return session.FinalStatus(status);
}

void Remove(IHVKeptQueue& kept, Controller const& controller) {
    controller->DiscardPartial(); // nobody would go on with it
    kept.Controllers()->RemoveController(controller);
}

bool IsDone(IHVDownloadController const& controller) {
    return controller.State() == HVDownloadStateDone;
}

/// Makes what is to run wait for its place. What the user has not named is left alone when it is paused or
/// has failed.
bool MakeWait(IHVDownloadController& controller, bool named) {
    HVDownloadState const state = controller.State();
    if (controller.DownloadSucceed() ||
        (!named && (state == HVDownloadStateDone || state == HVDownloadStatePaused)))
        return false;
    if (state == HVDownloadStateDone)
        controller.ResetDownload();
    controller.PendingDownload();
    return true;
}

} // namespace

int RunQueueAdd(HVSession& session, HVRequest& request) {
    request.keep = request.addOnly = true;
    return RunGet(session, request);
}

int RunQueueList(HVSession& session, HVRequest& request) {
    std::string const file = KeptQueueFile(request);
    std::shared_ptr<IHVError const> error;
    auto const rows = IHVKeptQueue::ReadRows(file, error);
    if (!error->Succeed()) {
        TellQueueFailure(session, request, *error);
        return session.FinalStatus(HVExitFailed);
    }
    int const holder = IHVKeptQueue::Holder(file);
    HVTableText table({{"No", true}, {"State"}, {"Title"}, {"Format"}, {""}});
    for (HVKeptRow const& row : rows) {
        std::string const state = StateWord(row.state, row.error.get(), holder != 0);
        if (request.json)
            session.Console().Out(EventLine("row", FieldsOf(row, state)));
        else
            table.AddRow({std::to_string(row.number), state, row.title, row.format, Remark(row, state)});
    }
    if (!request.json && !rows.empty())
        for (std::string const& line : table.Lines())
            session.Console().Out(line);
    if (rows.empty())
        session.Console().Note("The queue is empty.");
    if (holder != 0)
        session.Console().Note(
            (holder > 0 ? "The process " + std::to_string(holder) : std::string("Another process")) +
            " has the queue open; Ctrl-C there, or an interrupt (kill -INT), ends it and keeps all rows.");
    return session.FinalStatus(HVExitDone);
}

int RunQueueStart(HVSession& session, HVRequest& request) {
    if (std::string const fault = SetUpTools(request); !fault.empty()) {
        if (request.json)
            session.Console().Out(EventLine("failed", HVFailure{fault, HVErrorKindToolMissing}.Fields()));
        session.Console().Error(fault);
        return HVExitFailed;
    }
    auto const kept = OpenKeptQueue(session, request);
    if (kept == nullptr)
        return HVExitFailed;
    Chosen const named(session, request, *kept);
    HVProgressDisplay display(session.Console());
    HVDownloads downloads(session, request, display, kept);
    WarmTool(request);
    auto const queue = kept->Controllers();
    std::vector<int> rows;
    std::set<Controller> const chosen(named.controllers.begin(), named.controllers.end());
    for (int const row : queue->AllControllers()) {
        auto const controller = queue->GetController(row);
        if (!MakeWait(*controller, !request.rows.empty() && chosen.contains(controller)))
            continue;
        if (int const needs = kept->Needs(controller); needs != 0 && request.loginGiven)
            controller->SetOptions(request.options);
        else if (needs != 0)
            session.Console().Error(controller->GetDownloadOutputName() + ": needs " + KeptNeedText(needs) +
                                    ", which the queue does not store; give it to \"queue start\"");
        rows.push_back(row);
    }
    downloads.AddKept(rows);
    int const early = session.Run({[&] { return downloads.AllOver(); },
                                   [&] {
                                       downloads.Tick();
                                       display.Refresh();
                                   },
                                   [&] { downloads.StopAll(); }});
    if (early == HVExitDone)
        downloads.TellTotal();
    int status = early;
    if (early == HVExitDone && (downloads.AnyFailed() || !named.complete))
        status = HVExitFailed;
    if (early == HVExitInterrupted)
        session.Console().Always(kGoesOn);
    return session.FinalStatus(CloseKeptQueue(session, request, *kept, status));
}

int RunQueuePause(HVSession& session, HVRequest& request) {
    return Change(session, request, [](IHVKeptQueue&, std::vector<Controller> const& rows) {
        for (auto const& controller : rows) {
            if (IsDone(*controller))
                continue;
            controller->PendingDownload();
            controller->PauseDownload();
        }
    });
}

int RunQueueRemove(HVSession& session, HVRequest& request) {
    return Change(session, request, [](IHVKeptQueue& kept, std::vector<Controller> const& rows) {
        for (auto const& controller : rows)
            Remove(kept, controller);
    });
}

int RunQueueClear(HVSession& session, HVRequest& request) {
    return Change(session, request, [&request](IHVKeptQueue& kept, std::vector<Controller> const& rows) {
        for (auto const& controller : rows)
            if (request.clearAll)
                Remove(kept, controller);
            else if (controller->DownloadSucceed())
                kept.Controllers()->RemoveController(controller);
    });
}

} // namespace Halvorn

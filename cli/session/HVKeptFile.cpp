#include "HVKeptFile.h"

#include "HVFailure.h"
#include "HVJsonText.h"
#include "HVRequest.h"
#include "HVSession.h"
#include "HVStateFolder.h"

#include <filesystem>

namespace Halvorn {

namespace {

/// For the last downloads to end, and a disk that is slow.
constexpr unsigned int kPatience = 10'000;

} // namespace

std::string KeptQueueFile(HVRequest const& request) {
    if (!request.queueFile.empty())
        return std::filesystem::absolute(request.queueFile).lexically_normal();
    std::string const folder = StateFolder();
    return folder.empty() ? std::string() : folder + "/queue";
}

std::shared_ptr<IHVKeptQueue> OpenKeptQueue(HVSession& session, HVRequest const& request) {
    std::string const file = KeptQueueFile(request);
    std::shared_ptr<IHVError const> error;
    HVKeptQueueSettings settings;
    settings.jsRuntimePath = request.jsRuntime;
    auto queue = file.empty() ? nullptr : IHVKeptQueue::Open(file, settings, error);
    if (file.empty())
        error = IHVError::MallocError("HVKeptFile", __LINE__, "Open", -1, "Error",
                                      "There is no home folder: name the queue's file by --queue");
    if (queue == nullptr)
        TellQueueFailure(session, request, *error);
    return queue;
}

int CloseKeptQueue(HVSession& session, HVRequest const& request, IHVKeptQueue& queue, int status) {
    queue.Flush(kPatience);
    auto const error = queue.LastError();
    queue.Close(kPatience);
    if (error == nullptr)
        return status;
    TellQueueFailure(session, request, *error);
    return status == HVExitDone ? HVExitFailed : status;
}

void TellQueueFailure(HVSession& session, HVRequest const& request, IHVError const& error) {
    // What the log says of it would be told once more.
    HVFailure const failure{session.WithLoggedErrors(error.GetPlainMessage()), error.GetKind(),
                            error.CanRetry()};
    if (request.json)
        session.Console().Out(EventLine("failed", failure.Fields()));
    session.Console().Error(failure.Line());
}

} // namespace Halvorn

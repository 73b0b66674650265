#include "HVAnalysis.h"

#include "HVChoice.h"
#include "HVRequest.h"

#include <algorithm>
#include <utility>

namespace Halvorn {

namespace {

/// What a task may still take after it reported its end.
constexpr unsigned int kLastSteps = 2000;
/// Levels of lists inside a list that are gone into: a site, its channels, their tabs.
constexpr int kListDepth = 3;

} // namespace

HVAnalysis::HVAnalysis(std::shared_ptr<HVMainQueue> queue, Listener listener)
    : queue_(std::move(queue)), listener_(std::move(listener)) {}

std::shared_ptr<IHVError const> HVAnalysis::Start(std::string const& url, HVRequest const& request) {
    task_ = request.text ? IHVDownloadTask::MallocTextDownloadTask(url)
                         : IHVDownloadTask::MallocDownloadTask(url);
    task_->SetDelegate(this);
    task_->SetJSRuntimePath(request.jsRuntime);
    if (request.options)
        task_->SetOptions(request.options);
    Ask(request);
    self_ = shared_from_this();
    auto error = task_->StartTask();
    if (!error->Succeed())
        self_.reset();
    return error;
}

/// The task keeps the functions, and this object keeps itself until the task's work is over.
void HVAnalysis::Ask(HVRequest const& request) {
    task_->SetFullAnalysis(true);
    task_->SetTablesWhereNoJson(true);
    task_->SetThumbnailBytes(false);
    task_->SetWebPThumbnails(true);
    task_->SetListDepth(request.flat ? 0 : kListDepth);
    task_->SetWantedEntries(HVItemRanges::Parse(request.items).value_or(HVItemRanges()).Ranges());
    if (request.listOnly)
        task_->SetEntryFilter([](HVListEntry const&) { return false; });
    task_->SetListFunc(
        [this](std::shared_ptr<IHVPlayList const> const& playList, std::vector<HVListEntry> const& entries) {
            Post([playList, entries](HVAnalysis& self) {
                if (entries.empty() || entries.front().level == 0)
                    self.listedCount_ = playList->EntryCount();
                if (self.listener_.listed)
                    self.listener_.listed(playList, entries);
            });
        });
}

void HVAnalysis::Stop() {
    task_->StopTask();
}

void HVAnalysis::Post(std::function<void(HVAnalysis&)> work) {
    // A stopped analysis may report its end twice; the first one counts.
    queue_->Post([self = shared_from_this(), work = std::move(work)] {
        if (!self->done_)
            work(*self);
    });
}

void HVAnalysis::DownloadTaskStarted(std::string message, IHVDownloadTask const* /*task*/) {
    Post([message = std::move(message)](HVAnalysis& self) { self.listener_.progress(message); });
}

void HVAnalysis::DownloadTaskProgress(std::string message, float /*percent*/,
                                      IHVDownloadTask const* /*task*/) {
    Post([message = std::move(message)](HVAnalysis& self) {
        ++self.entryCount_;
        self.listener_.progress(message);
    });
}

void HVAnalysis::DownloadTaskGetPlayList(std::shared_ptr<IHVPlayList> playList,
                                         IHVDownloadTask const* /*task*/) {
    Post([playList = std::move(playList)](HVAnalysis& self) {
        // From tables the items come all at once, with the list.
        if (!self.itemsCame_ && playList->GetDownloadItemCount() > 0)
            self.TakeItemsOf(playList);
        self.listener_.playList(playList);
    });
}

void HVAnalysis::DownloadTaskGetPlayItem(std::shared_ptr<IHVDownloadItem> item,
                                         IHVDownloadTask const* /*task*/) {
    Post([item = std::move(item)](HVAnalysis& self) {
        self.itemsCame_ = true;
        self.listener_.item(item);
    });
}

void HVAnalysis::DownloadTaskCompleted(std::shared_ptr<IHVError const> error,
                                       IHVDownloadTask const* /*task*/) {
    Post([error = std::move(error)](HVAnalysis& self) { self.Finish(error); });
}

/// From tables the items come without their place in the list: those that failed have the other places.
void HVAnalysis::TakeItemsOf(std::shared_ptr<IHVPlayList> const& playList) {
    auto const failed = FailedEntries();
    int number = 0;
    for (auto const& item : playList->GetDownloadItems()) {
        do
            ++number;
        while (std::find(failed.begin(), failed.end(), number) != failed.end());
        item->SetPlayList(playList, number - 1);
        listener_.item(item);
    }
}

std::vector<int> HVAnalysis::FailedEntries() const {
    std::vector<int> numbers;
    for (auto const& entry : task_->FailedEntries())
        numbers.push_back(entry.level == 0 ? entry.number : 0);
    return numbers;
}

void HVAnalysis::Finish(std::shared_ptr<IHVError const> const& error) {
    done_ = true;
    bool const over = task_->WaitFinish(kLastSteps) == HVErrSuccess;
    listener_.done(error);
    // A task that still works keeps its delegate until the end of the process.
    if (over)
        self_.reset();
}

} // namespace Halvorn

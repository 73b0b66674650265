#include "HVAnalysis.h"

#include "HVChoice.h"
#include "HVRequest.h"

#include <utility>

namespace Halvorn {

namespace {

/// Levels of lists inside a list that are gone into: a site, its channels, their tabs.
constexpr int kListDepth = 3;

} // namespace

HVAnalysis::HVAnalysis(std::shared_ptr<HVMainQueue> queue, Listener listener)
    : queue_(std::move(queue)), listener_(std::move(listener)) {}

HVAnalysis::~HVAnalysis() {
    if (task_)
        task_->SetDelegate(nullptr);
}

void HVAnalysis::Start(std::string const& url, HVRequest const& request, IHVAnalysisGroup& group) {
    task_ = request.text ? IHVDownloadTask::MallocTextDownloadTask(url)
                         : IHVDownloadTask::MallocDownloadTask(url);
    task_->SetDelegate(this);
    task_->SetJSRuntimePath(request.jsRuntime);
    task_->SetOptions(request.options);
    Ask(request);
    if (auto const error = group.AddTask(task_); !error->Succeed())
        Post([error](HVAnalysis& self) { self.Finish(error); });
}

void HVAnalysis::Ask(HVRequest const& request) {
    task_->SetFullAnalysis(true);
    task_->SetTablesWhereNoJson(true);
    task_->SetThumbnailBytes(false);
    task_->SetWebPThumbnails(true);
    task_->SetKeepForDownload(request.analyseOnce);
    task_->SetListDepth(request.flat ? 0 : kListDepth);
    task_->SetWantedEntries(HVItemRanges::Parse(request.items).value_or(HVItemRanges()).Ranges());
    task_->SetNewestEntries(request.newest);
    if (request.listOnly)
        task_->SetEntryFilter([weak = weak_from_this()](HVListEntry const& entry) {
            if (auto const living = weak.lock())
                living->chosen_.push_back(entry);
            return false;
        });
    else if (request.archive != nullptr)
        task_->SetEntryFilter([weak = weak_from_this(), archive = request.archive](HVListEntry const& entry) {
            if (entry.kind != HVListEntry::Item || !archive->Contains(entry))
                return true;
            if (auto const living = weak.lock())
                living->Post([entry](HVAnalysis& self) {
                    if (self.listener_.skipped)
                        self.listener_.skipped(entry);
                });
            return false;
        });
    // The task keeps the function longer than this object lives.
    task_->SetListFunc([weak = weak_from_this(),
                        listOnly = request.listOnly](std::shared_ptr<IHVPlayList const> const& playList,
                                                     std::vector<HVListEntry> const& entries) {
        auto const living = weak.lock();
        if (!living)
            return;
        living->Post([playList, entries, listOnly](HVAnalysis& self) {
            if (entries.empty() || entries.front().level == 0)
                self.listedCount_ = playList->EntryCount();
            if (listOnly)
                self.list_ = playList;
            else if (self.listener_.listed)
                self.listener_.listed(playList, entries);
        });
    });
}

void HVAnalysis::Post(std::function<void(HVAnalysis&)> work) {
    // The task may still report while this object is being destroyed.
    auto const self = weak_from_this().lock();
    if (!self)
        return;
    // A stopped analysis may report its end twice; the first one counts.
    queue_->Post([self, work = std::move(work)] {
        if (!self->done_)
            work(*self);
    });
}

void HVAnalysis::DownloadTaskStarted(std::string message, IHVDownloadTask const* /*task*/) {
    Post([message = std::move(message)](HVAnalysis& self) { self.listener_.progress(message); });
}

void HVAnalysis::DownloadTaskProgress(std::string message, float /*percent*/, IHVDownloadTask const* task) {
    Post([message = std::move(message), failed = task->FailedEntries()](HVAnalysis& self) {
        ++self.entryCount_;
        auto const told = self.failedEntries_.size();
        self.failedEntries_ = failed;
        for (std::size_t i = told; i < failed.size(); ++i)
            self.listener_.failedEntry(failed[i]);
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
    int place = 0;
    auto failed = failedEntries_.begin();
    for (auto const& item : playList->GetDownloadItems()) {
        for (; failed != failedEntries_.end() && failed->number == place + 1; ++failed)
            ++place;
        item->SetPlayList(playList, place++);
        listener_.item(item);
    }
}

void HVAnalysis::Finish(std::shared_ptr<IHVError const> const& error) {
    done_ = true;
    task_->SetDelegate(nullptr);
    if (list_)
        listener_.listed(list_, chosen_);
    listener_.done(error);
}

} // namespace Halvorn

#include "HVAnalysisGroup.h"

#include "HVDownloadTaskParser.h"
#include "HVGroupMember.h"
#include "HVHTTPAddress.h"
#include "HVToolLanes.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace Halvorn {

namespace {

constexpr char kFile[] = "HVAnalysisGroup";

} // namespace

std::shared_ptr<IHVAnalysisGroup> IHVAnalysisGroup::MallocAnalysisGroup() {
    return std::make_shared<HVAnalysisGroup>();
}

class HVAnalysisGroupState::Member final : public HVGroupMember {
public:
    Member(std::shared_ptr<HVAnalysisGroupState> state, std::string site)
        : state_(std::move(state)), site_(std::move(site)), source_(state_->Reports().Add()) {}

    void Report(std::function<void()> report) override { state_->Reports().Post(source_, std::move(report)); }
    bool TakePlace(std::string const& site, std::function<bool()> const& stopped) override {
        return state_->Places().Take(source_, site, stopped);
    }
    void GivePlace(std::string const& site) override {
        state_->Places().Give(site);
        state_->StartNext();
    }
    void LeaveFirstPlace() override {
        if (hasPlace_.exchange(false))
            GivePlace(site_);
    }
    std::shared_ptr<HVToolLanes> Lanes() override { return state_->Lanes(); }
    void Ended() override {
        state_->Ended(*this);
        state_->Reports().Close(source_);
    }

    /// For the start of the task, if there is one.
    bool TakeFirstPlace() {
        hasPlace_ = state_->Places().TakeNow(site_);
        return hasPlace_;
    }

private:
    std::shared_ptr<HVAnalysisGroupState> const state_;
    std::string const site_;
    HVReportOrder::Source const source_;
    std::atomic<bool> hasPlace_ = false;
};

std::shared_ptr<IHVError const> HVAnalysisGroupState::Add(std::shared_ptr<HVDownloadTaskParser> task) {
    std::shared_ptr<Member> refused;
    {
        std::lock_guard const lock(mutex_);
        auto member = std::make_shared<Member>(shared_from_this(), HostOfAddress(task->TaskURL()));
        if (task->JoinGroup(member))
            rows_.push_back({std::move(task), std::move(member)});
        else
            refused = std::move(member);
    }
    if (refused != nullptr) {
        refused->Ended();
        return IHVError::MallocError(kFile, __LINE__, "AddTask", -1, "Error",
                                     "The task was started, or belongs to a group.");
    }
    StartNext();
    return IHVError::MallocSucceed(kFile, __LINE__, "AddTask");
}

void HVAnalysisGroupState::StartNext() {
    std::shared_ptr<Member> member;
    while (auto const task = TakeNext(member)) {
        // Set here, since the limits may have changed since the task was added.
        task->Settings().lanes = {places_.AtOnce(), places_.PerSite()};
        if (!task->StartTask()->Succeed()) // started by the application, against what the interface says
            member->LeaveFirstPlace();
    }
}

/// The earliest row that has a place now, marked as begun; null for none. So many at most are open, too,
/// since each has threads of its own.
std::shared_ptr<HVDownloadTaskParser> HVAnalysisGroupState::TakeNext(std::shared_ptr<Member>& member) {
    std::lock_guard const lock(mutex_);
    if (begun_ >= places_.AtOnce())
        return nullptr;
    for (Row& row : rows_) {
        if (row.begun || !row.member->TakeFirstPlace())
            continue;
        row.begun = true;
        ++begun_;
        member = row.member;
        return row.task;
    }
    return nullptr;
}

std::shared_ptr<HVToolLanes> HVAnalysisGroupState::Lanes() {
    std::lock_guard const lock(mutex_);
    if (lanes_ == nullptr)
        lanes_ = std::make_shared<HVToolLanes>();
    return lanes_;
}

void HVAnalysisGroupState::Ended(Member const& member) {
    // Both go without the lock.
    Row ended;
    std::shared_ptr<HVToolLanes> lanes;
    {
        std::lock_guard const lock(mutex_);
        auto const row = std::find_if(rows_.begin(), rows_.end(),
                                      [&member](Row const& it) { return it.member.get() == &member; });
        if (row == rows_.end())
            return;
        begun_ -= row->begun ? 1 : 0;
        ended = std::move(*row);
        rows_.erase(row);
        if (rows_.empty())
            lanes.swap(lanes_);
    }
    ended.member->LeaveFirstPlace();
    StartNext();
}

void HVAnalysisGroupState::Stop(IHVDownloadTask const* task) {
    std::vector<Row> waiting;
    std::vector<std::shared_ptr<HVDownloadTaskParser>> running;
    {
        std::lock_guard const lock(mutex_);
        for (Row const& row : rows_)
            if (row.begun && (task == nullptr || task == row.task.get()))
                running.push_back(row.task);
        std::erase_if(rows_, [&](Row& row) {
            bool const taken = !row.begun && (task == nullptr || task == row.task.get());
            if (taken)
                waiting.push_back(std::move(row));
            return taken;
        });
    }
    for (auto const& one : running)
        one->StopTask();
    for (Row const& row : waiting) {
        row.task->notifyTaskComplete(IHVError::MallocCancel(kFile, __LINE__, "StopTask"));
        row.member->Ended();
    }
}

void HVAnalysisGroupState::Drop() {
    std::vector<Row> waiting;
    {
        std::lock_guard const lock(mutex_);
        std::erase_if(rows_, [&waiting](Row& row) {
            bool const taken = !row.begun;
            if (taken)
                waiting.push_back(std::move(row));
            return taken;
        });
    }
    for (Row const& row : waiting)
        row.member->Ended();
}

int HVAnalysisGroupState::Unfinished() const {
    std::lock_guard const lock(mutex_);
    return static_cast<int>(rows_.size());
}

void HVAnalysisGroup::SetAnalysesAtOnce(int count) {
    state_->Places().SetAtOnce(count);
    state_->StartNext();
}

int HVAnalysisGroup::GetAnalysesAtOnce() const {
    return state_->Places().AtOnce();
}

void HVAnalysisGroup::SetAnalysesPerSite(int count) {
    state_->Places().SetPerSite(count);
    state_->StartNext();
}

int HVAnalysisGroup::GetAnalysesPerSite() const {
    return state_->Places().PerSite();
}

std::shared_ptr<IHVError const> HVAnalysisGroup::AddTask(std::shared_ptr<IHVDownloadTask> task) {
    if (auto parser = std::dynamic_pointer_cast<HVDownloadTaskParser>(std::move(task)))
        return state_->Add(std::move(parser));
    return IHVError::MallocError(kFile, __LINE__, "AddTask", -1, "Error", "There is no analysis to add.");
}

void HVAnalysisGroup::StopTask(std::shared_ptr<IHVDownloadTask> task) {
    if (task != nullptr)
        state_->Stop(task.get());
}

void HVAnalysisGroup::StopAll() {
    state_->Stop(nullptr);
}

int HVAnalysisGroup::UnfinishedCount() const {
    return state_->Unfinished();
}

} // namespace Halvorn

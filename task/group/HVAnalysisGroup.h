#pragma once
// The group of analyses: which of its tasks begins next, and whose turn it is to report.
//
// Thread-safety: the list is guarded by a lock that is held neither while a task starts nor while reports
// run. A place is taken for a task under that lock, so that no two threads start one task.

#include "HVAnalysisPlaces.h"
#include "HVReportOrder.h"
#include "IHVAnalysisGroup.h"

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Halvorn {

class HVDownloadTaskParser;
class HVToolLanes;

/// What the group and its tasks share: it lives as long as any of them.
class HVAnalysisGroupState : public std::enable_shared_from_this<HVAnalysisGroupState> {
public:
    std::shared_ptr<IHVError const> Add(std::shared_ptr<HVDownloadTaskParser> task);
    /// All of them for null.
    void Stop(IHVDownloadTask const* task);
    /// Takes out what has not begun.
    void Drop();
    int Unfinished() const;
    /// Starts what there is room for.
    void StartNext();

    HVAnalysisPlaces& Places() { return places_; }
    HVReportOrder& Reports() { return reports_; }
    std::shared_ptr<HVToolLanes> Lanes();

private:
    class Member;
    struct Row {
        std::shared_ptr<HVDownloadTaskParser> task;
        std::shared_ptr<Member> member;
        bool begun = false;
    };

    std::shared_ptr<HVDownloadTaskParser> TakeNext(std::shared_ptr<Member>& member);
    void Ended(Member const& member);

    HVAnalysisPlaces places_;
    HVReportOrder reports_;
    mutable std::mutex mutex_; // guards what follows
    std::vector<Row> rows_;
    int begun_ = 0;                      ///< rows that have begun
    std::shared_ptr<HVToolLanes> lanes_; ///< as long as there is a row: processes wait in it
};

class HVAnalysisGroup final : public IHVAnalysisGroup {
public:
    HVAnalysisGroup() = default;
    ~HVAnalysisGroup() { state_->Drop(); }
    HVAnalysisGroup(HVAnalysisGroup const&) = delete;
    HVAnalysisGroup& operator=(HVAnalysisGroup const&) = delete;

    void SetAnalysesAtOnce(int count) override;
    int GetAnalysesAtOnce() const override;
    void SetAnalysesPerSite(int count) override;
    int GetAnalysesPerSite() const override;
    std::shared_ptr<IHVError const> AddTask(std::shared_ptr<IHVDownloadTask> task) override;
    void StopTask(std::shared_ptr<IHVDownloadTask> task) override;
    void StopAll() override;
    int UnfinishedCount() const override;

private:
    std::shared_ptr<HVAnalysisGroupState> state_ = std::make_shared<HVAnalysisGroupState>();
};

} // namespace Halvorn

#pragma once
/// \class Halvorn::IHVAnalysisGroup
/// Analyses of several addresses side by side, reported in the order in which they were added.
///
/// The group starts each of its tasks as soon as there is a place for it. The limits count over all addresses
/// and the entries of all their lists together, so that two hundred addresses are no more runs of the tool at
/// the same moment than one. A place goes to the earliest address that can use it.
///
/// A task reports to its delegate, and to its functions, what it reports without a group; but an address that
/// is done early is told only when all before it have completed. Reports come one at a time, on the worker of
/// one of the group's tasks or the thread that stops one, or by the dispatcher (see IHVCallbackDispatcher).
/// So IHVDownloadTask::WaitFinish of a task may wait for reports of others as well.
///
/// Thread-safety: every operation may be called from any thread, also out of a report; none blocks, and no
/// lock is held while the application's code runs. Ownership: shared pointers; a group holds its tasks until
/// they have ended. When the last pointer to a group goes, its tasks under way go on and report; those that
/// have not begun are dropped without a report.

#include "HVExport.h"
#include "IHVError.h"

#include <memory>

namespace Halvorn {

class IHVDownloadTask;

class HV_EXPORT IHVAnalysisGroup {
public:
    /// An empty group with limits of 4.
    static std::shared_ptr<IHVAnalysisGroup> MallocAnalysisGroup();

    ///@{
    /// How many addresses and entries are analysed at the same time; 4 until it is set. Less than 1 counts as
    /// 1. For what begins from now on.
    virtual void SetAnalysesAtOnce(int count) = 0;
    virtual int GetAnalysesAtOnce() const = 0;
    ///@}
    ///@{
    /// How many of those may be of one site, that is of one host of their addresses; 4 until it is set.
    virtual void SetAnalysesPerSite(int count) = 0;
    virtual int GetAnalysesPerSite() const = 0;
    ///@}

    /// Takes the analysis behind those that were added before, and starts it when there is a place. Set it up
    /// before; its own limits (IHVDownloadTask::SetAnalysesAtOnce, SetAnalysesPerSite) are replaced by those
    /// of the group. Fails, and does nothing, for a null pointer, for a download, and for a task that was
    /// started or belongs to a group.
    virtual std::shared_ptr<IHVError const> AddTask(std::shared_ptr<IHVDownloadTask> task) = 0;
    /// Stops the task, as IHVDownloadTask::StopTask does; one that has not begun is taken out, and reports a
    /// cancel as its completion when it is its turn. Nothing happens for a task that is not in the group, or
    /// not any more.
    virtual void StopTask(std::shared_ptr<IHVDownloadTask> task) = 0;
    /// The same for all. What is added later starts again.
    virtual void StopAll() = 0;
    /// How many tasks have not ended. What has ended may still wait for its turn to be reported.
    virtual int UnfinishedCount() const = 0;

protected:
    ~IHVAnalysisGroup() = default;
};

} // namespace Halvorn

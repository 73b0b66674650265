#pragma once
// What a task that belongs to a group of analyses has of it. Thread-safe.

#include <functional>
#include <memory>
#include <string>

namespace Halvorn {

class HVToolLanes;

class HVGroupMember {
public:
    /// Runs the report when it is the task's turn: here and now, or on another task's worker.
    virtual void Report(std::function<void()> report) = 0;
    /// Waits until there is a place for a run at this site; false when `stopped` says so first, which is
    /// asked several times a second.
    virtual bool TakePlace(std::string const& site, std::function<bool()> const& stopped) = 0;
    virtual void GivePlace(std::string const& site) = 0;
    /// Gives back the place that the task was started with: it has none until it takes one.
    virtual void LeaveFirstPlace() = 0;
    /// What the runs of all addresses share. Not to be kept beyond a run.
    virtual std::shared_ptr<HVToolLanes> Lanes() = 0;
    /// The task's worker has ended; it reports nothing any more.
    virtual void Ended() = 0;

protected:
    ~HVGroupMember() = default;
};

} // namespace Halvorn

#pragma once
// The entries of a list side by side: threads of its own load them, and the thread that runs it reports what
// they have loaded, in the order of the list. With one at once there is no thread: each is loaded and
// reported before the next one.
//
// Thread-safety: made, filled, run and destroyed on one thread; the loads run side by side.

#include "IHVError.h"

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Halvorn {

class HVGroupMember;
class IHVThread;

class HVEntryLanes {
public:
    using Result = std::shared_ptr<IHVError const>;
    struct Entry {
        std::string address; ///< where it is loaded from; its host counts against the limit for a site
        /// On any thread.
        std::function<Result()> load;
        /// On the thread of Run, once the entry and all before it are loaded. The result is never empty.
        std::function<void(Result const&)> report;
    };
    struct Limits {
        int atOnce = 1;
        int perSite = 4;
    };

    /// `stopped` is asked between any two steps; once it says so, no further load begins.
    /// Each load has a place of the group, where there is one.
    HVEntryLanes(Limits limits, std::function<bool()> stopped,
                 std::shared_ptr<HVGroupMember> group = nullptr);
    /// Waits for the loads under way.
    ~HVEntryLanes();
    HVEntryLanes(HVEntryLanes const&) = delete;
    HVEntryLanes& operator=(HVEntryLanes const&) = delete;

    /// Puts entries in front of those that are not reported yet: before Run, or from a report.
    void AddInFront(std::vector<Entry> entries);
    /// Loads and reports all entries. After a stop it returns as soon as the loads under way have ended.
    void Run();
    /// What `load` returns. What goes wrong in it costs that entry alone: an exception, too, is its failure.
    /// Never empty.
    static Result Guarded(std::function<Result()> const& load);
    /// How many entries are loaded so far, also those whose report waits for others.
    int Loaded() const;

private:
    enum class State { Waiting, Loading, Loaded };
    struct Slot {
        Entry entry;
        std::string site;
        Result result;
        State state = State::Waiting;
    };

    bool ReportsNext();
    void StartThreads();
    void Work();
    bool MayBegin(Slot const& slot) const;
    Slot* NextToLoad();
    bool AwaitFirst();
    void Load(Slot& slot);
    Result LoadInPlace(Slot const& slot) const;

    Limits const limits_;
    std::function<bool()> const stopped_;
    std::shared_ptr<HVGroupMember> const group_;
    std::vector<std::shared_ptr<IHVThread>> threads_; ///< of the thread of Run
    bool noMoreThreads_ = false;                      ///< of that one, too
    mutable std::mutex mutex_;                        // guards what follows
    std::condition_variable changed_;
    std::list<Slot> slots_;
    std::map<std::string, int> loadingOfSite_;
    std::size_t waiting_ = 0;
    int loading_ = 0;
    int loaded_ = 0;
    bool closed_ = false;
};

} // namespace Halvorn

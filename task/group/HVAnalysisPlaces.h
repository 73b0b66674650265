#pragma once
// Places for runs of the tool, some of them for each site. Who waits for one gets it in the order of its
// number, as far as its site has room. Thread-safe; no lock is held while anything else is called but the
// `stopped` of a wait.

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>

namespace Halvorn {

class HVAnalysisPlaces {
public:
    void SetAtOnce(int count);
    int AtOnce() const;
    void SetPerSite(int count);
    int PerSite() const;

    /// A place without a wait; false when there is none, or one that waits can have it.
    bool TakeNow(std::string const& site);
    /// Waits for a place; false when `stopped` says so first.
    bool Take(std::size_t number, std::string const& site, std::function<bool()> const& stopped);
    void Give(std::string const& site);

private:
    using Ticket = std::pair<std::size_t, std::size_t>; ///< number, and order of the calls

    bool HasRoom(std::string const& site) const;
    bool IsNext(Ticket const& ticket) const;
    void Enter(std::string const& site);

    mutable std::mutex mutex_; // guards what follows
    std::condition_variable changed_;
    std::map<Ticket, std::string> waiting_; ///< for these sites
    std::map<std::string, int> takenOfSite_;
    std::size_t calls_ = 0;
    int taken_ = 0;
    int atOnce_ = 4;
    int perSite_ = 4;
};

} // namespace Halvorn

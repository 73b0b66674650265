#pragma once
// The analyses of all addresses of a command: side by side, their reports in the order of the addresses. For
// the main thread alone.

#include "HVAddressList.h"
#include "HVAnalysis.h"

#include <Reelhaul/IHVAnalysisGroup.h>

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <string>

namespace Halvorn {

struct HVRequest;

class HVAnalyses {
public:
    /// `begin` is called when it is the turn of the next address, from Start on; then `listener` with what
    /// the address reports, to its end.
    HVAnalyses(std::shared_ptr<HVMainQueue> queue, HVRequest const& request, HVAnalysis::Listener listener,
               std::function<void()> begin);

    void Start();
    /// What has not begun is left out; AllDone as soon as the rest has ended.
    void Stop();
    bool AllDone() const;
    /// The address that reports, and its number from 1.
    HVListedAddress const& Address() const;
    std::size_t Number() const { return done_ + 1; }
    /// How many there are.
    std::size_t Count() const;
    /// Its analysis.
    HVAnalysis const& Current() const { return *analyses_.front(); }

private:
    void AddMore();
    void Done(std::shared_ptr<IHVError const> const& error);

    std::shared_ptr<HVMainQueue> queue_;
    HVRequest const& request_;
    HVAnalysis::Listener listener_;
    std::function<void()> begin_;
    std::shared_ptr<IHVAnalysisGroup> group_ = IHVAnalysisGroup::MallocAnalysisGroup();
    std::deque<std::shared_ptr<HVAnalysis>> analyses_; ///< of the addresses from `done_` to `added_`
    std::size_t added_ = 0;
    std::size_t done_ = 0;
    bool stopped_ = false;
};

/// What is shown while nothing else is known of the address that reports.
std::string ActivityOf(HVAnalyses const& analyses);

} // namespace Halvorn

#include "HVAnalyses.h"

#include "HVRequest.h"

#include <utility>

namespace Halvorn {

namespace {

/// Addresses in the group, so that a long list costs no more memory than a short one.
constexpr std::size_t kAhead = 64;

} // namespace

HVAnalyses::HVAnalyses(std::shared_ptr<HVMainQueue> queue, HVRequest const& request,
                       HVAnalysis::Listener listener, std::function<void()> begin)
    : queue_(std::move(queue)), request_(request), listener_(std::move(listener)), begin_(std::move(begin)) {
    group_->SetAnalysesAtOnce(request.analyses);
}

void HVAnalyses::Start() {
    begin_();
    AddMore();
}

void HVAnalyses::AddMore() {
    for (; !stopped_ && added_ < request_.addresses.size() && added_ < done_ + kAhead; ++added_) {
        auto listener = listener_;
        listener.done = [this](std::shared_ptr<IHVError const> const& error) { Done(error); };
        analyses_.push_back(std::make_shared<HVAnalysis>(queue_, std::move(listener)));
        analyses_.back()->Start(request_.addresses[added_].url, request_, *group_);
    }
}

void HVAnalyses::Done(std::shared_ptr<IHVError const> const& error) {
    listener_.done(error);
    // It is called by this very analysis, which its report holds.
    analyses_.pop_front();
    ++done_;
    AddMore();
    if (!AllDone())
        begin_();
}

void HVAnalyses::Stop() {
    stopped_ = true;
    group_->StopAll();
}

bool HVAnalyses::AllDone() const {
    return done_ == (stopped_ ? added_ : request_.addresses.size());
}

std::size_t HVAnalyses::Count() const {
    return request_.addresses.size();
}

std::string ActivityOf(HVAnalyses const& analyses) {
    std::string const place = analyses.Count() < 2 ? ""
                                                   : " (" + std::to_string(analyses.Number()) + " of " +
                                                         std::to_string(analyses.Count()) + ")";
    return "Analysing " + analyses.Address().url + place;
}

HVListedAddress const& HVAnalyses::Address() const {
    return request_.addresses[done_];
}

} // namespace Halvorn

#include "HVReportOrder.h"

#include <utility>

namespace Halvorn {

HVReportOrder::Source HVReportOrder::Add() {
    std::lock_guard const lock(mutex_);
    sources_.emplace(next_, Held());
    return next_++;
}

void HVReportOrder::Post(Source source, std::function<void()> report) {
    std::unique_lock lock(mutex_);
    sources_[source].reports.push_back(std::move(report));
    RunDue(std::move(lock));
}

void HVReportOrder::Close(Source source) {
    std::unique_lock lock(mutex_);
    sources_[source].closed = true;
    RunDue(std::move(lock));
}

void HVReportOrder::RunDue(std::unique_lock<std::mutex> lock) {
    if (running_)
        return;
    running_ = true;
    while (auto report = NextDue()) {
        lock.unlock();
        report();
        report = nullptr; // what it holds goes without the lock as well
        lock.lock();
    }
    running_ = false;
}

/// Empty when none is due. The lock is held.
std::function<void()> HVReportOrder::NextDue() {
    while (!sources_.empty()) {
        auto const first = sources_.begin();
        auto& [reports, closed] = first->second;
        if (!reports.empty()) {
            auto report = std::move(reports.front());
            reports.pop_front();
            return report;
        }
        if (!closed)
            break;
        sources_.erase(first);
    }
    return nullptr;
}

} // namespace Halvorn

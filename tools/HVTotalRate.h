#pragma once
// One rate for several runs of the tool together. Our extension in each run
// (tools/extension/reelhaul_rate.py) finds the rate by the folder in which the tool has found the extension:
// a link to the common one.
//
// Thread-safe. What the runs use of it ends with the object or with the process.

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace Halvorn {

class HVTotalRate {
public:
    HVTotalRate();
    ~HVTotalRate();
    HVTotalRate(HVTotalRate const&) = delete;
    HVTotalRate& operator=(HVTotalRate const&) = delete;

    /// 0 or less for none. Runs under way hear of it.
    void SetRate(std::int64_t bytesPerSecond);
    /// How many runs at once there are at most, for those that can't hear of the rate.
    void SetRuns(int count);
    /// The folder to have a run find the extension in, instead of the common one; empty where none can be
    /// made.
    std::string Share(std::string const& extensionFolder);
    /// Gives a run that can't hear of the rate its share by the tool's own options.
    void GiveShare(std::vector<std::string>& args) const;

private:
    bool WriteRate() const;

    std::string const name_;
    mutable std::mutex mutex_; // guards what follows, and the files
    std::string folder_;       ///< empty until the first run
    std::int64_t rate_ = 0;
    int runs_ = 6;
};

} // namespace Halvorn

#pragma once
// A lock by which one process at a time has something, and others learn which one that is. It goes with the
// object and with the process, however that ends; a forked copy does not have it. Thread-safe but for one
// object, which one thread uses at a time.

#include "HVDescriptor.h"

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

namespace Halvorn {

class HVFileLock {
public:
    /// Makes the file, for the user alone, and locks it. Empty where that is not possible: `holder` is then
    /// the process that has it, this one among them, and 0 for another reason, which `error` tells by its
    /// number.
    static std::unique_ptr<HVFileLock> Take(std::string const& path, int& holder, int& error);
    /// The process that has the lock, 0 for none.
    static int Holder(std::string const& path);
    HVFileLock(HVFileLock const&) = delete;
    HVFileLock& operator=(HVFileLock const&) = delete;
    ~HVFileLock();

private:
    using Identity = std::pair<std::uint64_t, std::uint64_t>;
    HVFileLock(HVDescriptor file, Identity identity) : file_(std::move(file)), identity_(identity) {}

    HVDescriptor file_;
    Identity const identity_;
};

} // namespace Halvorn

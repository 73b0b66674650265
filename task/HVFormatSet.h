#pragma once
// A list of formats without duplicates, quick also for very long ones. One thread at a time.

#include "IHVDownloadFormat.h"

#include <cstddef>
#include <memory>
#include <unordered_map>
#include <vector>

namespace Halvorn {

class HVFormatSet {
public:
    /// Appends the format unless the list holds an equal one.
    void Add(std::shared_ptr<IHVDownloadFormat> format);
    std::vector<std::shared_ptr<IHVDownloadFormat>>& Formats() { return formats_; }

private:
    std::vector<std::shared_ptr<IHVDownloadFormat>> formats_;
    /// From a hash of fields that equal formats share.
    std::unordered_multimap<std::size_t, IHVDownloadFormat const*> byHash_;
};

} // namespace Halvorn

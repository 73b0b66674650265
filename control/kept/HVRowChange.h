#pragma once
// What is to be stored of one row: the values that have changed. Plain values.

#include "IHVDownloadController.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace Halvorn {

/// What changes together as a run goes on.
struct HVRowState {
    HVDownloadState state = HVDownloadStateIdle;
    std::string file;                      ///< of the last successful run
    std::shared_ptr<IHVError const> error; ///< of the last attempt
    std::uint64_t bytes = 0;               ///< that it has fetched, of one that is done
};

/// A bundle of options without its secrets.
struct HVRowOptions {
    std::string record;
    int needs = 0; ///< HVKeptNeed
};

struct HVRowChange {
    std::int64_t number = 0;
    bool isNew = false;   ///< all values are there
    bool removed = false; ///< nothing else counts
    std::optional<bool> checked;
    std::optional<std::int64_t> position;
    std::optional<HVRowState> state;
    std::optional<std::string> item; ///< ItemRecord
    std::optional<std::string> name;
    std::optional<std::string> naming; ///< HVNameTemplate
    std::optional<std::string> folder;
    std::optional<HVRowOptions> options;
    std::optional<std::string> settings; ///< SettingsRecord
    /// The finished file and its folder, from before it gets its place until another run begins.
    std::optional<std::string> whole;

    /// Adds a change that was made after this one.
    void Add(HVRowChange later);
};

} // namespace Halvorn

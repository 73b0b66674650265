#pragma once
// The tables of a kept queue. One thread at a time.

#include "HVDatabase.h"
#include "HVRowChange.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Halvorn {

/// A row as it is stored.
struct HVStoredRow {
    std::int64_t number = 0;
    std::int64_t position = 0;
    bool checked = true;
    HVRowState state;
    std::string item;
    std::string name;
    std::string naming;
    std::string folder;
    std::string options; ///< OptionsRecord
    int needs = 0;
    std::string settings; ///< SettingsRecord
    std::string whole;
};

class HVQueueFile {
public:
    static std::unique_ptr<HVQueueFile> Open(std::string const& path, bool readOnly,
                                             std::shared_ptr<IHVError const>& error);

    /// All rows in their order, and the highest number that was ever given.
    std::shared_ptr<IHVError const> Read(std::vector<HVStoredRow>& rows, std::int64_t& highest);
    /// Stores all changes, at most one for a row, or none of them. Empty where that succeeds.
    std::shared_ptr<IHVError const> Write(std::map<std::int64_t, HVRowChange> const& changes);

private:
    explicit HVQueueFile(std::unique_ptr<HVDatabase> database) : database_(std::move(database)) {}

    std::unique_ptr<HVDatabase> const database_;
};

} // namespace Halvorn

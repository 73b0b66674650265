#pragma once
// What a queue and its controllers tell a kept queue's file of each change. Locks are taken in the order
// queue, controller, writer; nothing here calls back into a queue or a controller.

#include "HVQueueWriter.h"

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Halvorn {

class IHVDownloadItem;
class IHVDownloadOptions;
struct HVRowSettings;

/// Of one row. Any operation from any thread.
class HVRowKeeper {
public:
    HVRowKeeper(std::shared_ptr<HVQueueWriter> writer, std::int64_t number, std::int64_t position,
                int missing)
        : writer_(std::move(writer)), number_(number), position_(position), missing_(missing) {}

    std::int64_t Number() const { return number_; }
    /// HVKeptNeed: see IHVKeptQueue::Needs.
    int Missing() const { return missing_; }

    /// Stores all values of a row that is not in the file yet.
    void Insert(HVRowChange values) const;
    void Remove() const;
    void StateChanged(HVRowState state) const;
    void CheckedChanged(bool checked) const;
    void FolderChanged(std::string folder) const;
    void NameChanged(std::string name) const;
    void NamingChanged(std::string naming) const;
    void OptionsChanged(HVRowOptions options);
    void SettingsChanged(HVRowSettings const& settings) const;
    /// With its name.
    void ItemChanged(IHVDownloadItem const& item) const;
    /// The finished file is about to get its place in this folder. Blocks until that is stored: after a kill
    /// between the move and the state Done the file is known by it. Empty, or why it is not stored.
    std::shared_ptr<IHVError const> FileIsWhole(std::string const& path, std::string const& folder) const;

    static HVRowOptions StoredOptions(IHVDownloadOptions const* options);

    ///@{
    /// Under the queue's lock.
    std::int64_t Position() const { return position_; }
    void MoveTo(std::int64_t position);
    ///@}

private:
    HVRowChange Change() const;

    std::shared_ptr<HVQueueWriter> const writer_;
    std::int64_t const number_;
    std::int64_t position_;
    std::atomic<int> missing_;
};

/// Of the list: where rows stand in the file. Under the queue's lock.
class HVQueueKeeper {
public:
    HVQueueKeeper(std::shared_ptr<HVQueueWriter> writer, std::int64_t highestNumber)
        : writer_(std::move(writer)), highest_(highestNumber) {}

    /// For a row that is inserted behind `before` and in front of `after`; null for the ends of the list.
    /// Empty where there is no room between them: see Spread.
    std::shared_ptr<HVRowKeeper> MakeRow(HVRowKeeper const* before, HVRowKeeper const* after);
    /// A position there; none where there is no room.
    static std::optional<std::int64_t> Between(HVRowKeeper const* before, HVRowKeeper const* after);
    /// Makes room between all rows, which are given in their order.
    static void Spread(std::vector<std::shared_ptr<HVRowKeeper>> const& rows);

private:
    std::shared_ptr<HVQueueWriter> const writer_;
    std::int64_t highest_;
};

} // namespace Halvorn

#pragma once
// A folder for what a stopped or failed download leaves, so that the next one goes on there: one for each
// item, format and target, under a name that stays the same. A lock tells one in use, also by other
// processes. Thread-safe but for one object, which one thread uses at a time.

#include "HVDescriptor.h"

#include <cstdint>
#include <memory>
#include <string>

namespace Halvorn {

class HVPartialFolder {
public:
    /// Makes the folder `name` in `parent`, where it is missing, and locks it. Empty when that is not
    /// possible; `inUse` tells that another download has it, or had it a moment ago.
    static std::shared_ptr<HVPartialFolder> Open(std::string const& parent, std::string const& name,
                                                 bool& inUse);
    std::string const& Path() const { return path_; }
    /// Removes it and all in it, and `parent` when nothing else is there.
    void Remove();
    /// Removes it unless it holds what another run can go on with.
    void RemoveUnlessFilled();
    /// See below.
    std::uint64_t Bytes() const;
    /// Bytes in the folder `name` of `parent` that another run can go on with: our extension has noted where
    /// they come from. 0 where there is no such folder.
    static std::uint64_t Bytes(std::string const& parent, std::string const& name);

    /// Removes the folders of this class in `parent` in which nothing has changed for so many days, or from
    /// which no run can go on, but for those in use. How many there were.
    static int Sweep(std::string const& parent, int days);

private:
    HVPartialFolder(std::string parent, std::string name, HVDescriptor lock);

    std::string const parent_;
    std::string const name_;
    std::string const path_;
    HVDescriptor const lock_;
};

/// A name for a folder that stays the same for the same text, in all versions.
std::string StableName(std::string const& text);

} // namespace Halvorn

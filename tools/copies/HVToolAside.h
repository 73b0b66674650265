#pragma once
// A copy of a tool beside it, under a hidden name. What changes a tool works on the copy, so that the tool's
// own name stands for a whole file at any moment and a change that fails leaves the tool as it was. The copy
// is in the same folder, for tools that look for their files there. One thread at a time.

#include <chrono>
#include <string>

namespace Halvorn {

class HVToolAside {
public:
    /// Names the copy; where the tool is a link, beside what it leads to.
    explicit HVToolAside(std::string const& tool);
    HVToolAside(HVToolAside const&) = delete;
    HVToolAside& operator=(HVToolAside const&) = delete;
    /// Removes the copy, and what it has left beside itself.
    ~HVToolAside();

    // Each of these returns the failure, in words for a user, or an empty text.
    std::string Make() const;
    /// Flushes the copy to the disk and puts it in the tool's place. Not where someone else has changed the
    /// tool meanwhile.
    std::string PutInPlace() const;

    std::string const& Tool() const { return tool_; }
    std::string const& Path() const { return path_; }

    /// Longer than any update takes.
    static constexpr std::chrono::hours kLeftoverAge{6};
    /// Removes copies that an ended process has left in the folder: a younger one may be another process's,
    /// in use.
    static void RemoveLeftovers(std::string const& folder, std::chrono::seconds age = kLeftoverAge);

private:
    std::string tool_;
    std::string path_;
    std::string state_;
};

} // namespace Halvorn

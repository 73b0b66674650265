#pragma once
// What is not downloaded since it has been before, and what is told of it. For the main thread alone.

#include <Reelhaul/HVListEntry.h>
#include <Reelhaul/IHVDownloadItem.h>

#include <set>
#include <string>

namespace Halvorn {

struct HVRequest;
class HVSession;

class HVSkips {
public:
    HVSkips(HVSession& session, HVRequest const& request) : session_(session), request_(request) {}

    /// Whether the archive knows the item, another process downloads it, or an earlier one of this run was
    /// the same. Otherwise it is claimed.
    bool SkipKnown(IHVDownloadItem const& item);
    void Release(IHVDownloadItem const& item) const;
    /// An entry of a list that the archive knows.
    void Entry(HVListEntry const& entry);
    /// An item whose file is there.
    void Existing(IHVDownloadItem const& item, std::string const& path);
    /// How many there were, if any.
    void TellAll() const;

private:
    HVSession& session_;
    HVRequest const& request_;
    std::set<std::string> taken_; ///< identities of the items of this run
    int known_ = 0;
    int existing_ = 0;
};

} // namespace Halvorn

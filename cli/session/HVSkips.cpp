#include "HVSkips.h"

#include "HVJsonText.h"
#include "HVRequest.h"
#include "HVSession.h"

#include <algorithm>
#include <vector>

namespace Halvorn {

namespace {

std::string const& AddressOf(IHVDownloadItem const& item, std::string const& ofList) {
    return item.DownloadURL().empty() ? ofList : item.DownloadURL();
}

} // namespace

bool HVSkips::SkipKnown(IHVDownloadItem const& item) {
    if (request_.archive == nullptr)
        return false;
    auto const identities = IHVDownloadArchive::IdentitiesOf(item);
    bool const taken = std::any_of(identities.begin(), identities.end(),
                                   [this](std::string const& identity) { return taken_.contains(identity); });
    if (!taken && !request_.archive->ContainsAny(identities)) {
        taken_.insert(identities.begin(), identities.end());
        return false;
    }
    ++known_;
    char const* const reason = taken ? "repeated" : "archive";
    if (request_.json)
        session_.Console().Out(EventLine("skipped", {{"url", AddressOf(item, item.GetPlaylistURL())},
                                                     {"title", item.GetFileName()},
                                                     {"reason", reason}}));
    session_.Console().Note(item.GetFileName() + (taken ? ": skipped, it is downloaded already in this run"
                                                        : ": skipped, it is in the archive"));
    return true;
}

void HVSkips::Entry(HVListEntry const& entry) {
    ++known_;
    // In words the number of all is enough: a channel may have thousands.
    if (request_.json)
        session_.Console().Out(EventLine(
            "skipped",
            {{"url", entry.url}, {"title", entry.title}, {"reason", "archive"}, {"item", entry.number}}));
}

void HVSkips::Existing(IHVDownloadItem const& item, std::string const& path) {
    ++existing_;
    if (request_.json)
        session_.Console().Out(EventLine("skipped", {{"url", AddressOf(item, item.GetPlaylistURL())},
                                                     {"title", item.GetFileName()},
                                                     {"reason", "exists"},
                                                     {"path", path}}));
    session_.Console().Note(item.GetFileName() + ": skipped, there is " + path);
}

void HVSkips::TellAll() const {
    if (known_ + existing_ > 0)
        session_.Console().Note("Skipped: " + std::to_string(known_) + " downloaded before, " +
                                std::to_string(existing_) + " with a file of the name");
}

} // namespace Halvorn

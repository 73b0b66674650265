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
    // A row of a kept queue claims its item when it runs: one that waited with a claim behind one that waits
    // for it would never run.
    bool const claimed = !taken && (request_.keep || request_.archive->Claim(item));
    bool const known = claimed && request_.archive->ContainsAny(identities);
    if (claimed && !known) {
        taken_.insert(identities.begin(), identities.end());
        return false;
    }
    if (known)
        request_.archive->Release(item);
    ++known_;
    char const* const reason = taken ? "repeated" : known ? "archive" : "running";
    if (request_.json)
        session_.Console().Out(EventLine("skipped", {{"url", AddressOf(item, item.GetPlaylistURL())},
                                                     {"title", item.GetFileName()},
                                                     {"reason", reason}}));
    session_.Console().Note(item.GetFileName() + ": skipped, " +
                            (taken   ? "it is downloaded already in this run"
                             : known ? "it is in the archive"
                                     : "another process is downloading it"));
    return true;
}

void HVSkips::Release(IHVDownloadItem const& item) const {
    if (request_.archive != nullptr)
        request_.archive->Release(item);
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

#pragma once
/// \class Halvorn::IHVDownloadArchive
/// A file that remembers what has been downloaded, so that nothing is downloaded twice: by identity, that is
/// by site and the site's identifier, whatever the item's address, name and format. An identity is a text as
/// the tool's own archive has it, such as "youtube dQw4w9WgXcQ".
///
/// The file is a database (SQLite) or the tool's own text form, one identity a line; an existing file tells
/// by its content. A new one is a database where its name ends in ".db", ".sqlite" or ".sqlite3", else text.
/// Any number of processes may use one file at the same time, of a text also the tool itself, and nothing is
/// lost; what another process has added is found from then on.
///
/// Thread-safety: every operation may be called from any thread. All block on the disk, and for at most ten
/// seconds while another process writes. Ownership: shared pointers; see IHVDownloadController::SetArchive.

#include "HVExport.h"
#include "HVListEntry.h"
#include "IHVError.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Halvorn {

class IHVDownloadItem;

class HV_EXPORT IHVDownloadArchive {
public:
    /// The archive in the file of this path.
    static std::shared_ptr<IHVDownloadArchive> MallocDownloadArchive(std::string const& path);
    ///@{
    /// The identities of an item, or of an entry of a list before it is loaded. Empty where the document, or
    /// the listing, does not tell; after an analysis from tables always. The first one is what the tool
    /// itself would record. A site's change may have given an item several.
    static std::vector<std::string> IdentitiesOf(IHVDownloadItem const& item);
    static std::vector<std::string> IdentitiesOf(HVListEntry const& entry);
    ///@}

    /// Opens the file, or makes it, for the user alone, with the folders above it. A failure names the file
    /// and the reason; a file that is no archive is left as it is. The other operations open by themselves.
    virtual std::shared_ptr<IHVError const> Open() = 0;
    /// Whether one of the identities is in the archive. False also where that can't be told: see LastError.
    virtual bool ContainsAny(std::vector<std::string> const& identities) = 0;
    /// Adds those that are not in it yet, all or none of them.
    virtual std::shared_ptr<IHVError const> AddAll(std::vector<std::string> const& identities) = 0;
    /// How many identities there are; -1 where that can't be told.
    virtual std::int64_t Count() = 0;
    /// What the last operation of any thread came to; empty before the first one.
    virtual std::shared_ptr<IHVError const> LastError() const = 0;

    ///@{
    /// ContainsAny of their identities.
    bool Contains(IHVDownloadItem const& item);
    bool Contains(HVListEntry const& entry);
    ///@}
    ///@{
    /// Says to all who use this file, in other processes too, that the item is being downloaded: false where
    /// that has been said of another item object with this identity, and it has not been released. Ask
    /// Contains afterwards, since the other may just have ended with it. A claim goes with the last archive
    /// object for its file in the process, and with the process, however that ends; it is kept in an empty
    /// file beside the archive. Where files can't be locked no other process is noticed. A start that skips
    /// what is archived (IHVDownloadController::SetSkips) claims its item by itself, and releases it: don't
    /// claim the items of a queue of such ones, since one that runs may wait for one that is not started.
    bool Claim(IHVDownloadItem const& item);
    void Release(IHVDownloadItem const& item);
    ///@}
    /// Records an item as downloaded: under its identity, and under that of the entry that led to it.
    std::shared_ptr<IHVError const> Add(IHVDownloadItem const& item);

protected:
    ~IHVDownloadArchive() = default;
};

} // namespace Halvorn

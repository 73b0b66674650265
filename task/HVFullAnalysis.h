#pragma once
// The analysis that takes what the tool finds as the tool takes it: documents without a list of formats,
// entries that the flat listing holds whole, and lists inside lists. Used by one run of a parser task, on its
// worker thread; Load also on the threads of HVEntryLanes.

#include "HVAnalysisSettings.h"
#include "HVJsonRead.h"
#include "HVListEntry.h"

#include <cstddef>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace Halvorn {

class HVDownloadTaskParser;
class HVListDocument;
class HVPlayList;
class HVToolLanes;
class IHVDownloadItem;

class HVFullAnalysis {
public:
    /// Both are kept by reference.
    HVFullAnalysis(HVDownloadTaskParser& task, HVAnalysisSettings const& settings);

    /// The whole analysis, from the report of its start to that of its completion.
    void Run();

private:
    /// An entry that is still to be loaded.
    struct Entry {
        HVListEntry told;
        HVJsonNode node;
        std::shared_ptr<HVPlayList> list;

        int Index() const { return told.number - 1; }
    };
    /// What an entry turned out to be: an item, or the document of a list.
    struct Found {
        std::shared_ptr<IHVDownloadItem> item;
        HVJsonNode list;
    };
    using Result = std::shared_ptr<IHVError const>;

    /// The tool's words for the entries that are wanted by their numbers; nothing for all.
    std::vector<std::string> RangeArgs() const;
    Result Search(std::string& output, std::string& errorText);
    bool ReadsTables(HVJsonNode const& root, std::string const& errorText) const;
    void CompleteItem(HVJsonNode const& document);
    void CompleteList(HVJsonNode const& document, std::string const& errorText);
    void TakeThumbnail(HVJsonNode const& document);
    void Complete();

    /// Puts the wanted entries in front of those that wait.
    void Enqueue(HVListDocument const& document, std::shared_ptr<HVPlayList> const& list, int level);
    /// The places in `entries` of those that are wanted.
    std::vector<std::size_t> WantedOf(HVListDocument const& document,
                                      std::vector<HVListEntry> const& entries) const;
    void KeepNewest(HVListDocument const& document, std::vector<HVListEntry> const& entries,
                    std::vector<std::size_t>& wanted) const;
    bool PassesFilter(HVListEntry const& entry) const;
    Result Load(Entry const& entry, Found& found);
    /// Runs the tool for an entry of which the listing holds only the address.
    Result LoadByRun(Entry const& entry, Found& found);
    Result LoadItem(Entry const& entry, HVJsonNode const& document, Found& found);
    /// Takes an entry that is loaded, or has failed, and reports it.
    void Take(Entry const& entry, Found const& found, Result const& result);
    void TakeItem(Entry const& entry, std::shared_ptr<IHVDownloadItem> const& item);
    /// Goes into a list inside a list, as deep as was asked for, or only tells of it.
    void TakeList(Entry const& entry, HVJsonNode const& document);
    void Report(Entry const& entry, Result const& result);

    HVDownloadTaskParser& task_;
    HVAnalysisSettings const& settings_;
    std::shared_ptr<HVPlayList> top_;
    Result lastFailure_;
    /// Addresses of the lists that were gone into: a list that names itself is not gone into again.
    std::set<std::string> opened_;
    int total_ = 0;
    float percent_ = 0.0F;
    bool toldOfLists_ = false;
    std::shared_ptr<HVToolLanes> const toolLanes_;
    HVEntryLanes lanes_; ///< behind what its loads use
};

} // namespace Halvorn

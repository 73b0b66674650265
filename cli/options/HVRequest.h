#pragma once
// What the user asked for, checked.

#include "HVAddressList.h"

#include <Reelhaul/HVMetadataFiles.h>
#include <Reelhaul/IHVDownloadArchive.h>
#include <Reelhaul/IHVDownloadOptions.h>

#include <memory>
#include <string>
#include <vector>

namespace Halvorn {

/// Statuses that the command ends with.
enum HVExitStatus { HVExitDone = 0, HVExitFailed = 1, HVExitUsage = 2, HVExitInterrupted = 130 };

struct HVRequest {
    std::vector<HVListedAddress> addresses;
    std::string folder = ".";         ///< where files go
    std::string format = "best";      ///< see ChooseFormat
    std::string language;             ///< of the sound; empty for the original's
    std::string prefer;               ///< container or codec that goes before others
    std::string subtitle;             ///< see ChooseSubtitle; empty for none
    std::string subtitleKind = "any"; ///< people, machine or any
    std::string items;                ///< see HVItemRanges; empty for all
    std::string archiveFile;          ///< empty for none
    std::string name;                 ///< see HVNameTemplate; empty for the title
    std::string browser;              ///< of "cookies"
    std::string runningBrowser;       ///< the browser that is asked for cookies, perhaps with :PROFILE
    std::string search;               ///< of "providers"
    std::string copies;               ///< of "tools use"
    std::string document;             ///< of "generate"
    std::string queueFile;            ///< of "queue" and "get --keep"; empty for the user's own
    std::vector<int> rows;            ///< numbers of rows, of "queue"; empty for all that it is about
    std::string toolFolder;           ///< folder of the local copies; empty for the built-in ones
    std::string jsRuntime;            ///< empty for the built-in one
    int newest = 0;                   ///< of each list; 0 for all
    int jobs = 6;
    int analyses = 4;         ///< addresses and entries of lists that are analysed at once
    int sleepBetween = 0;     ///< seconds between the starts of two downloads
    int totalRate = 0;        ///< bytes a second over all downloads; 0 for no limit
    int duration = 0;         ///< seconds after which a live recording is finished; 0 for no limit
    bool cold = false;        ///< the tool is started anew for each run
    bool analyseOnce = false; ///< downloads are made by the analysis's document
    bool keep = false;        ///< rows go to the kept queue, and what waits there is downloaded
    bool addOnly = false;     ///< rows go to the kept queue, and nothing is downloaded
    bool later = false;       ///< of those rows: without an analysis, which each has when it starts
    bool loginGiven = false;  ///< of "queue start": options that a row may lack
    bool clearAll = false;    ///< of "queue clear"
    bool goOn = true;         ///< partial data stays, and is gone on with
    bool discard = false;     ///< removes partial data, and downloads nothing
    bool folderPerPlayList = false;
    bool skipExisting = false;
    HVMetadataFiles metadata;
    bool quiet = false;
    bool installHost = false;   ///< of "cookies"
    bool uninstallHost = false; ///< of "cookies"
    bool status = false;        ///< of "cookies"
    bool json = false;
    bool text = false;
    bool flat = false;                           ///< lists inside a list are not gone into
    bool allFormats = false;                     ///< every format of the tool as well
    bool listOnly = false;                       ///< no entry of a list is loaded
    std::shared_ptr<IHVDownloadArchive> archive; ///< of "get"; open
    std::shared_ptr<IHVDownloadOptions> options; ///< of "info" and "get"
};

} // namespace Halvorn

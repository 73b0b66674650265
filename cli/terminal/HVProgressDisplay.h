#pragma once
// What goes on, for a person: on a terminal a live line for the analysis and for each running download, else
// plain lines now and then. For the main thread alone.

#include "HVConsole.h"

#include <Reelhaul/HVDownloadProgress.h>

#include <chrono>
#include <map>
#include <string>

namespace Halvorn {

class HVProgressDisplay {
public:
    explicit HVProgressDisplay(HVConsole& console);

    /// What is being done beside the downloads; empty for nothing.
    void SetActivity(std::string const& text);
    /// A download runs, or a recording; `id` names it in the calls below.
    void Begin(int id, std::string const& name, bool recording);
    /// `percent` is 0 to 100, `text` what the tool says about speed and time; the record is for live lines.
    void Update(int id, float percent, std::string const& text, HVDownloadProgress const& record);
    /// The same for a recording, which has no end of its own: how long it is, and what is to be said.
    void UpdateRecording(int id, int seconds, std::string const& text);
    /// Once its title is known.
    void Rename(int id, std::string const& name);
    void End(int id);
    /// Number of downloads that wait for a place.
    void SetWaiting(int count) { waiting_ = count; }
    /// What all of them come to.
    void SetTotal(HVQueueProgress const& total) { total_ = total; }
    /// Brings the live lines up to date.
    void Refresh();

private:
    struct Download {
        std::string name;
        float percent = 0;
        std::string text;
        HVDownloadProgress record;
        std::chrono::steady_clock::time_point updated; ///< the record
        int told = 0;                                  ///< tenths, or minutes, that plain lines have told of
        bool recording = false;
    };

    std::string Line(Download const& download) const;

    HVConsole& console_;
    std::string activity_;
    std::map<int, Download> downloads_;
    HVQueueProgress total_;
    int waiting_ = 0;
};

} // namespace Halvorn

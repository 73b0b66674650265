#pragma once
/// \class Halvorn::IHVWarmTool
/// Keeps the tool in memory, so that its runs begin at once: an analysis then takes a tenth to a quarter of
/// its time.
///
/// Without a call of TurnOn each run starts the tool anew, which takes it 0.3 to 0.9 s before it has sent its
/// first request. Turned on, one process of the tool stays, with all loaded that a run needs, and each run is
/// a copy of it: a process of its own with the same arguments, results, stop and end as before. What can't be
/// had in this way (the process still loads, has died, the tool or its plugins are others than before) is run
/// as without it, and nobody notices but the log.
///
/// It costs some 50 MB of memory for as long as it stays, and about two seconds of processor time at its
/// start; six runs at once take less memory than without it, since they share most of it. Turn it on at the
/// start of an application, so that it is ready when the first address is there. It ends with the
/// application, and after a time without a run; the next run then has it start again.
///
/// A run's command line is that of the process that stays: what stands in the arguments, a password for
/// example, is not shown by the system's list of processes.
///
/// Thread-safety: every operation may be called from any thread; none blocks for longer than the start of a
/// process.

#include "HVExport.h"

#include <string>

namespace Halvorn {

class HV_EXPORT IHVWarmTool {
public:
    /// Where the process that stays warm is in its life.
    enum class State {
        Off,        ///< not turned on: runs start the tool anew
        Resting,    ///< ended after a time without a run, or not started yet: the next run has it start
        Warming,    ///< starts; runs start the tool anew
        Ready,      ///< runs are copies of it
        NotPossible ///< see the reason; runs start the tool anew
    };
    /// How it is with that process.
    struct Status {
        State state = State::Off; ///< where it is in its life
        bool complete = false;    ///< Ready, and nothing is left to load: runs are as fast as they get
        std::string reason;       ///< why it is not possible, in words for a user
    };

    /// Minutes without a run after which it ends, unless others are given.
    static constexpr unsigned int kIdleMinutes = 10;

    /// Starts it for the copy of the tool that is in force. A later call sets the time alone. 0 minutes: it
    /// stays until the end of the application.
    static void TurnOn(unsigned int idleMinutes = kIdleMinutes);
    /// Ends it. Runs that go on are not touched.
    static void TurnOff();
    /// How it is at this moment.
    static Status GetStatus();

    IHVWarmTool() = delete;
};

} // namespace Halvorn

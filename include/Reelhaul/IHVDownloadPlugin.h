#pragma once
/// \class Halvorn::IHVDownloadPlugin
/// Where the copies of the tools are, which of them is in force, their versions, and the update of the local
/// copy.
///
/// Each tool exists twice. The built-in copy stands beside the library and never changes. The local copy
/// stands in a folder that the application names, the install path, and can be updated.
///
/// Thread-safety: every operation may be called from any thread. Set the install path and the switch before
/// the first task starts: a task asks for them at its start. Paths are UTF-8.
/// Ownership: the library owns the one object, which lives as long as the process.

#include "HVExport.h"
#include "IHVError.h"

#include <functional>
#include <memory>
#include <string>

namespace Halvorn {

class HV_EXPORT IHVDownloadPlugin {
public:
    /// What the last update came to.
    struct UpdateOutcome {
        bool finished = false;      ///< an update has run to its end in this process
        bool changed = false;       ///< the local tool's version is another one than before
        std::string oldVersion;     ///< the local tool's version before; empty when it does not run
        std::string offeredVersion; ///< the latest release; empty when the release host did not tell
        std::string newVersion;     ///< the local tool's version afterwards
        std::string message;        ///< why nothing changed although it should have, in words for a user
    };

    /// What a program says about its version.
    struct ProgramVersion {
        std::string line;  ///< the first line that it prints, to standard output before the error stream
        std::string fault; ///< why there is none, in words for a user; else empty
    };

    /// The one object. Never empty.
    static std::shared_ptr<IHVDownloadPlugin> SharedDownloadPlugin();

    /// Puts the local copy in force, or the built-in one, and stores that choice in the settings. Blocks for
    /// the writing of a small file.
    virtual void EnableLocalPlugin(bool enable) = 0;
    /// True when the local copy is in force, as it is where nothing else was ever stored.
    virtual bool LocalPluginEnabled() const = 0;
    ///@{
    /// Names the folder of the local copy. It is neither tested nor stored: set it in each process.
    virtual void SetLocalPluginInstallPath(std::string const& path) = 0;
    virtual std::string GetLocalPluginInstallPath() const = 0;
    ///@}

    /// Copies the built-in tools to the install path where they are missing there, which blocks; then, on a
    /// thread of its own, asks for the latest release, has an older local tool update itself in a copy that
    /// then takes its place, and gives a single-file tool its bytecode: docs/updating.md tells the whole.
    /// `done` is called once, on that thread, with a success whatever the outcome was: see LastUpdate.
    /// Without an install path it is called at once, on the caller's thread, with code -1. An answer that
    /// can't be read ends the update with code -1. A second call while an update runs, also out of `done`,
    /// returns as soon as the copying is done: its update follows the first, and both report to the second
    /// function.
    virtual void UpdateLocalPlugin(std::function<void(std::shared_ptr<IHVError const>)> done) = 0;
    /// Blocks until the updates that were asked for so far have ended. It ends none. From `done` it returns
    /// at once.
    virtual void CancelUpdateLocalPlugin() = 0;
    /// Address of the latest release's file. Blocks, for at most a minute, on the network.
    virtual std::string GetLatestYtDlpVersionUrl() const = 0;
    /// Despite its name: true when a newer version than the local one exists; false when the local one can't
    /// be compared, such as a nightly build. Blocks on the tool and the network.
    virtual bool LocalPluginIsUpToDate() const = 0;

    /// What the local tool answers to "--version", line end included; "2024.01.01" when there is no local
    /// tool; empty when it does not run. Blocks while the tool runs; one that has not ended after a minute,
    /// or prints more than 64 KiB, is ended and has no version.
    virtual std::string LocalPluginVersion() const = 0;
    /// The same for the built-in tool.
    virtual std::string BuiltInPluginVersion() const = 0;

    /// Path of the local tool, whether the file exists or not; empty when the install path is empty or no
    /// folder has it.
    virtual std::string LocalPluginPathFile() const = 0;
    /// The same for ffmpeg.
    virtual std::string LocalFfmpegPathFile() const = 0;
    /// Path of the built-in tool. The file is not tested.
    virtual std::string PluginPathFile() const = 0;
    /// Path of the built-in ffmpeg. The file is not tested.
    virtual std::string FfmpegPathFile() const = 0;

    /// Path of the JS runtime beside the library; empty when there is none.
    static std::string BuiltInJSRuntimePathFile();
    /// Puts the local copy in force, or the built-in one, for this process alone; the stored choice remains.
    /// A later EnableLocalPlugin takes its place.
    static void UseLocalPluginForThisProcess(bool local);

    /// Runs the program at `path`, such as the tool, ffmpeg or the JS runtime, with one argument, such as
    /// "--version": that tells its version, and whether it runs at all. Blocks for at most `milliseconds`,
    /// and two seconds more for a program that does not let itself be ended; what it leaves running is ended
    /// with it.
    static ProgramVersion AskProgramVersion(std::string const& path, std::string const& argument,
                                            unsigned int milliseconds = 20'000);

    ///@{
    /// Halts all processes that the library runs, with everything that they have started, and each that it
    /// starts from now on, until ResumeTools. For an application that is itself about to be halted, as by
    /// Ctrl-Z in a terminal: its tools have no terminal, hear nothing of that, and would go on. A halted tool
    /// can be stopped as usual, and its silence counts against no limit. Sites may meanwhile close their
    /// connections; the tool then connects anew. Returns at once.
    static void SuspendTools();
    static void ResumeTools();
    ///@}

    /// What the last update in this process came to. Call it from `done` or later.
    static UpdateOutcome LastUpdate();
    /// Asks a mirror for releases instead of the tool's own release host, in this process: `apiPrefix` stands
    /// in the place of "https://api.github.com", `filePrefix` in that of "https://github.com". An empty text
    /// leaves that to the environment variables REELHAUL_RELEASE_API and REELHAUL_RELEASE_FILES. Only https
    /// is asked, and http on loopback. The tool itself still fetches its new version from its own host.
    static void SetReleaseMirror(std::string const& apiPrefix, std::string const& filePrefix);

protected:
    ~IHVDownloadPlugin() = default;
};

} // namespace Halvorn

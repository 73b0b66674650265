#pragma once
// A child of ours that forks further processes for us: it has loaded a program once, and a fork of it begins
// at once. What is said between the two stands at the head of tools/extension/reelhaul_warm.py.
//
// Thread-safe; forks may be asked for by several threads at once. The child ends when the object goes, or
// with this process; its forks don't.

#include "HVChildProcess.h"
#include "HVForkedProcess.h"

#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace Halvorn {

class HVForkServer {
public:
    enum class State {
        Loading, ///< does not fork yet
        Ready,
        Rested,  ///< has ended by itself, after a time without work
        Refused, ///< has ended since it can't work: see Reason
        Died
    };

    /// Starts the child, with one end of a socket as its standard input. It ends after so many seconds
    /// without work, 0 for never; `merger` is the path of ffmpeg. 0 and the object, or an error number.
    static int Start(HVChildSetup setup, unsigned int idleSeconds, std::string const& merger,
                     std::shared_ptr<HVForkServer>& server);
    explicit HVForkServer(HVDescriptor socket) : socket_(std::move(socket)) {}
    ~HVForkServer();

    /// What the child has said last. Does not block.
    State Look();
    /// True when it has loaded what each fork needs, so that another one needs not load that itself.
    bool Loaded() const;
    /// True when it has nothing more to load.
    bool Complete() const;
    /// Why it refuses, in its own words: one word that says what is to be done, a colon, and the rest.
    std::string Reason() const;

    /// Has it fork a process for one run, or for one that stays, and has that begin. `reason` is why it
    /// refuses. Blocks for two seconds at most; a fork that comes later ends by itself before it does
    /// anything.
    HVForkAnswer Fork(HVSpawnRequest const& request, bool stays, std::unique_ptr<HVForkedProcess>& forked,
                      std::string& reason) const;
    /// The same for one run, as HVChildSource::Start has it.
    HVForkAnswer Fork(HVSpawnRequest const& request, int& pid, std::unique_ptr<HVChildLeader>& leader,
                      std::string& reason) const;
    /// Ends the child once its forks have ended, or at once.
    void Retire();
    void Kill();
    /// In a forked copy of this process, which must not use the object nor destroy it: closes what is the
    /// parent's.
    void CloseInCopy() const;

private:
    void Hear(std::string const& line);

    HVDescriptor const socket_;
    std::shared_ptr<HVChildProcess> child_;
    mutable std::mutex mutex_; // guards what follows
    std::string received_;
    State state_ = State::Loading;
    bool loaded_ = false;
    bool complete_ = false;
    std::string reason_;
};

} // namespace Halvorn

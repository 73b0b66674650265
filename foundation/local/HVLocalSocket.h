#pragma once
// Sockets between processes of one user on one machine.

#include "HVDescriptor.h"
#include "HVFrames.h"

#include <chrono>
#include <mutex>
#include <string>
#include <vector>

namespace Halvorn {

/// The folder in which the user's sockets stand, made where it is missing: nobody else may enter it. Empty
/// where there is none that is safe; `fault` then says why. The variable REELHAUL_BROWSERS names another one.
std::string LocalSocketFolder(std::string& fault);
/// The sockets in the folder, those that were made last first.
std::vector<std::string> LocalSockets(std::string const& folder);

/// A listening socket, which has its name only once it can be connected to, and loses it when this goes.
class HVLocalListener {
public:
    /// 0, or the error's number.
    int Open(std::string const& path);
    HVLocalListener() = default;
    HVLocalListener(HVLocalListener const&) = delete;
    HVLocalListener& operator=(HVLocalListener const&) = delete;
    ~HVLocalListener();
    int Descriptor() const { return listener_.Get(); }
    /// The next connection, which does not block; invalid when there is none, or its process is another
    /// user's.
    HVDescriptor Accept() const;

private:
    HVDescriptor listener_;
    std::string path_;
};

/// A connection that speaks in messages. Used by one thread, but for Shut.
class HVLocalConnection {
public:
    using Time = std::chrono::steady_clock::time_point;
    enum class End { None, TimeOut, Closed };

    explicit HVLocalConnection(std::size_t longestMessage) : frames_(longestMessage) {}
    HVLocalConnection(HVLocalConnection const&) = delete;
    HVLocalConnection& operator=(HVLocalConnection const&) = delete;

    /// Whether a process of this user listens there. Removes a socket that a killed process has left.
    bool Connect(std::string const& path);
    /// Each blocks until it is done, the time has come, or Shut was called.
    End Send(std::string const& message, Time until);
    End Receive(std::string& message, Time until);
    /// Ends the connection; from any thread.
    void Shut();

private:
    std::mutex mutex_; ///< guards the exchange of the descriptor against Shut
    bool shut_ = false;
    HVDescriptor socket_;
    HVFrames frames_;
};

} // namespace Halvorn

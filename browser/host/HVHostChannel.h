#pragma once
// One side that the host program talks to: the browser over two pipes, or an application over a socket.
// Nothing blocks. One thread.

#include "HVDescriptor.h"
#include "HVFrames.h"

#include <string>

namespace Halvorn {

class HVHostChannel {
public:
    /// Over two descriptors that stay open when this goes.
    HVHostChannel(int in, int out, std::size_t longestMessage);
    /// Over a connection.
    HVHostChannel(HVDescriptor connection, std::size_t longestMessage);

    int In() const { return in_; }
    int Out() const { return out_; }
    bool WantsToWrite() const { return !unsent_.empty(); }
    /// Whether the other side is gone, or can't be understood.
    bool Over() const { return over_ || frames_.Broken(); }

    /// Reads what has come.
    void Read();
    bool Next(std::string& message) { return frames_.Next(message); }
    /// Sends as much as goes now, and keeps the rest for Write.
    void Send(std::string const& message);
    void Write();

private:
    HVDescriptor connection_;
    int const in_;
    int const out_;
    HVFrames frames_;
    std::string unsent_;
    bool over_ = false;
};

} // namespace Halvorn

#pragma once
// A pair of connected sockets between this process and a child of ours, over which descriptors can be passed
// on.
//
// One thread at a time for each end. Nothing here raises a signal or waits beyond its limit.

#include "HVDescriptor.h"

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace Halvorn {

using HVTimeLimit = std::chrono::steady_clock::time_point;

struct HVSocketPair {
    HVDescriptor ours; ///< does not block
    HVDescriptor theirs;
    /// Neither is inherited by a child unless it is named as one of its streams. 0, or an error number when
    /// there are no more descriptors.
    int Open();
};

/// Sends all of `text`, the descriptors with its first byte; they stay ours as well. False when the other end
/// is gone or does not take it in time.
bool SendText(int socket, std::string_view text, std::vector<int> const& descriptors, HVTimeLimit limit);

enum class HVReceived { Line, Silence, Closed };

/// Takes the next line out of what has come, `rest` holding what came behind it; waits for it until the
/// limit. A `watched` socket, if there is one, ends the wait when it closes.
HVReceived ReceiveLine(int socket, std::string& rest, std::string& line, HVTimeLimit limit, int watched = -1);

} // namespace Halvorn

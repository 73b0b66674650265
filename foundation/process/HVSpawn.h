#pragma once
// Starts programs, without a copy of the calling process, in a process group of their own. Thread-safe.

#include "HVDescriptor.h"

#include <string>
#include <string_view>
#include <vector>

namespace Halvorn {

/// Both ends of a pipe; neither is inherited by a child unless it is named as one of its streams.
struct HVPipe {
    HVDescriptor read;
    HVDescriptor write;
    /// 0, or an error number when there are no more descriptors.
    int Open();
};

/// What a child is started with. A stream of -1 is the null device.
struct HVSpawnRequest {
    std::string exe;
    std::vector<std::string> args; ///< without the program's name
    std::vector<std::string> environment;
    int input = -1;
    int output = -1;
    int error = -1;
};

/// Starts the child: it leads a session and a group with its process id as number and has no terminal, it
/// inherits the three streams alone, and all its signals are as the system gives them. 0 and the process id,
/// or an error number.
int Spawn(HVSpawnRequest const& request, int& pid);

/// This process's environment for a child, with UTF-8 mode for Python, and with the folder of the JS runtime
/// (`runtimePath`: the program or its folder; may be empty) in front of PATH, and `pythonPath` (may be empty)
/// in front of PYTHONPATH.
std::vector<std::string> ChildEnvironment(std::string const& runtimePath, std::string const& pythonPath = {});

/// Writes all of `text` if that is possible at once. No signal is raised when nobody reads. False on failure.
bool WriteQuietly(int fd, std::string_view text);

} // namespace Halvorn

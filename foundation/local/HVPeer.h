#pragma once
// Who is at the other end of a local socket, and where sockets of the user's stand. Thread-safe.

#include <string>

namespace Halvorn {

/// Whether the process at the other end is one of this user's.
bool PeerIsThisUser(int socket);
/// Number of the process that connected; 0 when the system does not tell.
int PeerProcess(int socket);
/// Path of the program that a process runs; empty when it can't be told.
std::string ProgramOfProcess(int process);
/// A folder that belongs to this user alone and is the same for all processes of the user's, whatever their
/// environment is; empty where the system has none.
std::string UserRuntimeFolder();

} // namespace Halvorn

#pragma once
// What a child inherits from this process without being told. Thread-safe.

#include <string>

namespace Halvorn {

/// The working folder; empty when it has none any more.
std::string CurrentFolder();
/// The bits that new files don't get. It is looked at, not set and set back, since that is every thread's; -1
/// when it can't be.
int CurrentUmask();
/// The user and the group in whose name the process works.
std::string UserIdentity();

} // namespace Halvorn

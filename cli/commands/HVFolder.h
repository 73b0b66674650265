#pragma once
// The folder that files are to go into.

#include <string>

namespace Halvorn {

/// What a folder is for, and so who may do what in it if it has to be made.
enum class HVFolderUse {
    Files,    ///< as the user's umask says
    Programs, ///< no other user writes: what is in it is run
    Secrets,  ///< no other user looks in
};

/// Makes the folder, with those above it, where it is missing. Returns why files can't go into it; empty when
/// they can.
std::string MakeFolder(std::string const& folder, HVFolderUse use);

} // namespace Halvorn

#pragma once
// Settings in a file of one's choice.

#include "IHVAppSettings.h"

namespace Halvorn {

/// Settings in this file; an empty path means in memory only. The file is read at once.
std::shared_ptr<IHVAppSettings> MallocAppSettings(std::string const& pathFile);

/// Where the system keeps a user's settings of an application; empty without a home folder.
std::string SettingsFolder();

/// The file of the process's settings; empty without a place for it.
std::string SettingsPathFile();

} // namespace Halvorn

#pragma once
// The metadata that the tool writes beside a download, on its way to the user's folder.

#include "HVFinishedFile.h"
#include "HVMetadataFiles.h"

#include <string>
#include <vector>

namespace Halvorn {

/// What has the tool write them; empty where nothing is wanted.
std::vector<std::string> MetadataArgs(HVMetadataFiles const& wanted);
/// Those that the tool has made beside the file at `path`, ready for other people's eyes. What is missing is
/// logged: the site may have none.
std::vector<HVSideFile> TakeMetadata(HVMetadataFiles const& wanted, std::string const& path);

} // namespace Halvorn

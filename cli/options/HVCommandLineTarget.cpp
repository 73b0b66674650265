// How files are called, and what stands beside them.

#include "HVCommandLine.h"
#include "HVOptionChecks.h"

#include <Reelhaul/HVNameTemplate.h>

#include <CLI/App.hpp>

namespace Halvorn {

void HVCommandLine::AddNames(CLI::App& app) {
    app.add_option("--name", request_.name,
                   "Name of the files, with fields such as {title} and folders by /; an unknown field lists "
                   "them all")
        ->type_name("TEXT")
        ->check(NotEmpty, "");
    app.add_flag("--folder-per-playlist", request_.folderPerPlayList,
                 "Put the items of a playlist into a folder of its title")
        ->disable_flag_override();
    app.add_option("--archive", request_.archiveFile,
                   "Skip what this file remembers, and have it remember what is downloaded")
        ->type_name("FILE")
        ->check(PathLike, "");
    app.add_flag("--skip-existing", request_.skipExisting, "Skip what has a file of its name already")
        ->disable_flag_override();
    app.add_flag("--write-info-json", request_.metadata.infoJson,
                 "Put the tool's document beside the file, without cookies")
        ->disable_flag_override();
    app.add_flag("--write-thumbnail", request_.metadata.thumbnail, "Put the best picture beside the file")
        ->disable_flag_override();
    app.add_flag("--write-description", request_.metadata.description, "Put the description beside the file")
        ->disable_flag_override();
}

std::string HVCommandLine::NameFault() {
    if (request_.folderPerPlayList)
        request_.name = "{playlist}/" + (request_.name.empty() ? "{title}" : request_.name);
    if (request_.name.empty())
        return {};
    auto const checked = HVNameTemplate::Check(request_.name);
    return checked->Succeed() ? std::string() : "--name: " + checked->GetErrorMessage();
}

} // namespace Halvorn

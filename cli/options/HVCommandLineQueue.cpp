// What the command line says of the kept queue.

#include "HVChoice.h"
#include "HVCommandLine.h"
#include "HVGetCommand.h"
#include "HVOptionChecks.h"
#include "HVQueueCommand.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

namespace Halvorn {

void HVCommandLine::AddQueueFile(CLI::App& app) {
    app.add_option("--queue", request_.queueFile, "File of the queue; the user's own unless given")
        ->type_name("FILE")
        ->check(PathLike, "");
}

void HVCommandLine::AddQueueRows(CLI::App& app, bool required) {
    app.add_option("ROW", rows_, "Numbers of rows, as \"reelhaul queue list\" tells them")
        ->required(required)
        ->type_name("");
}

void HVCommandLine::AddQueue() {
    CLI::App& queue =
        *app_->add_subcommand("queue", "A queue that is kept: add to it, download it, look at it");
    queue.require_subcommand(1);
    queue.footer("");
    auto const add = [this, &queue](char const* name, char const* help, Command command) -> CLI::App& {
        CLI::App& app = *queue.add_subcommand(name, help);
        app.parse_complete_callback([this, command] { run_ = command; });
        AddQueueFile(app);
        return app;
    };
    auto& put = add("add", "Put what addresses hold into the queue", RunQueueAdd);
    AddToGet(put);
    AddSwitch(put, "--later", request_.later,
              "Put the addresses in as they are, one item each: it is analysed when it starts");
    auto& list = add("list", "Show the queue's rows", RunQueueList);
    AddSwitch(list, "--json", request_.json, "Print one line of JSON for each row");
    auto& start = add("start", "Download what waits in the queue", RunQueueStart);
    AddQueueRows(start, false);
    AddDownloading(start);
    AddSwitch(start, "--quiet", request_.quiet, "Print nothing but faults and the paths of finished files");
    AddSwitch(start, "--json", request_.json, "Print one line of JSON for each event");
    AddToolPaths(start);
    AddSwitch(start, "--cold", request_.cold,
              "Start the tool anew for each of its runs, as is done for one alone")
        .group("Tools");
    AddRecords(start, true);
    AddQueueRows(
        add("pause", "Leave rows out of what \"queue start\" downloads; all unless named", RunQueuePause),
        false);
    AddQueueRows(add("remove", "Remove rows, and what was fetched of them", RunQueueRemove), true);
    AddSwitch(add("clear", "Remove the rows that are done; the files stay", RunQueueClear), "--all",
              request_.clearAll, "Remove all rows, and what was fetched of those that are not done");
}

std::string HVCommandLine::TakeRows() {
    for (std::string const& row : rows_) {
        auto const number = WholeNumber(row);
        if (!number || *number < 1)
            return "ROW must be the number of a row, not \"" + row + "\"";
        request_.rows.push_back(*number);
    }
    request_.loginGiven = !given_.empty();
    if (request_.later && (!request_.items.empty() || request_.newest > 0 || !request_.subtitle.empty() ||
                           !WishOf(request_.format, request_)))
        return "--later leaves the analysis for the start: no items, subtitles, or number or code of a "
               "format "
               "can be named before it";
    if (!request_.queueFile.empty() && run_ == RunGet && !request_.keep)
        return "--queue needs --keep";
    return {};
}

} // namespace Halvorn

#include "HVOptionDocument.h"

#include "HVOptionTable.h"
#include "HVRequest.h"
#include "HVSession.h"

#include <string>
#include <string_view>

namespace Halvorn {

namespace {

/// The text as code, its words apart.
std::string Code(std::string_view words) {
    std::string text = "`";
    for (char const c : words)
        text += c == ' ' ? std::string("`, `") : std::string(1, c);
    return text + "`";
}

std::string Line(HVOptionRow const& row) {
    std::string name = row.name;
    if (*row.value != '\0')
        name.append(" ").append(row.value);
    std::string text = std::string(row.help);
    if (row.kind == HVOptionKind::Number)
        text += " (" + std::to_string(row.lowest) + " to " + std::to_string(row.highest) + ")";
    if (*row.needs != '\0')
        text.append("; only beside `").append(row.needs).append("`");
    return "| `" + name + "` | " + text + " | " + (row.downloadOnly ? "`get`" : "`info`, `get`") + " | `" +
           row.field + "` | " + Code(row.tool) + " |";
}

} // namespace

int RunOptionTable(HVSession& session, HVRequest& /*request*/) {
    HVConsole& console = session.Console();
    console.Out("# Options that reach the tool");
    console.Out("");
    console.Out(
        "Made by `reelhaul option-table > docs/options.md`; a test compares the two. Every option takes");
    console.Out(
        "its value as `--name VALUE` or `--name=VALUE`. `--tool-config` takes an argument away from the");
    console.Out("tool instead of giving one.");
    std::string_view group;
    for (HVOptionRow const& row : OptionTable()) {
        if (group != row.group) {
            group = row.group;
            console.Out("");
            console.Out("## " + std::string(group));
            console.Out("");
            console.Out("| Option | Meaning | Commands | Sets | Argument of the tool |");
            console.Out("|---|---|---|---|---|");
        }
        console.Out(Line(row));
    }
    return session.FinalStatus(HVExitDone);
}

} // namespace Halvorn

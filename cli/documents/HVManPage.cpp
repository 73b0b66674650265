#include "HVManPage.h"

#include <Reelhaul/Reelhaul.h>

#include <algorithm>
#include <cctype>

namespace Halvorn {

namespace {

constexpr char const* kRest = R"(.SH ENVIRONMENT
.TP
.B REELHAUL_LOG
What is logged to standard error: 0 (everything, among it the tool's command lines) to 3 (faults), or off.
.TP
.B REELHAUL_TOOL_DIR
Folder of the local copies of the tools, unless \fB\-\-tool\fR names one.
.TP
.B REELHAUL_SETTINGS
File of the library's settings instead of the one in the user's configuration.
.SH SEE ALSO
.BR yt\-dlp (1),
.BR ffmpeg (1)
)";

std::string Escaped(std::string const& text) {
    std::string result;
    for (char const c : text)
        result += c == '\\' ? std::string("\\e") : c == '-' ? std::string("\\-") : std::string(1, c);
    // Either would begin a request.
    return result.starts_with('.') || result.starts_with('\'') ? "\\&" + result : result;
}

std::string Bold(std::string const& text) {
    return "\\fB" + Escaped(text) + "\\fR";
}

std::string UpperCase(std::string text) {
    for (char& c : text)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

bool IsOwn(HVOptionDescription const& option) {
    return option.group == "Options" || option.positional;
}

std::string Entry(HVOptionDescription const& option) {
    std::string text = ".TP\n";
    for (std::string const& name : option.names)
        text += (&name == &option.names.front() ? "" : ", ") + Bold(name);
    if (!option.value.empty())
        text += " \\fI" + Escaped(option.value) + "\\fR";
    return text + "\n" + Escaped(option.help) + ".\n";
}

/// A command with what it alone takes.
std::string Section(HVCommandDescription const& command) {
    std::string heading = Bold("reelhaul " + command.path);
    std::string entries;
    for (HVOptionDescription const& option : command.options) {
        if (!IsOwn(option) || option.names.back() == "--help")
            continue;
        std::string const name = option.names.back() + (option.value.empty() ? "" : " " + option.value) +
                                 (option.repeats ? "..." : "");
        if (option.required)
            heading += " " + Escaped(name);
        else if (option.positional)
            heading += " [" + Escaped(name) + "]";
        entries += Entry(option);
    }
    return ".SS " + heading + "\n" + Escaped(command.help) + ".\n" + entries;
}

/// The options that several commands share, by their groups, with the commands that take them.
std::string SharedSections(std::vector<HVCommandDescription const*> const& commands) {
    struct Shared {
        std::string group;
        std::string takers;
        std::string entries;
    };
    std::vector<Shared> groups;
    for (HVCommandDescription const* const command : commands)
        for (HVOptionDescription const& option : command->options) {
            if (IsOwn(option))
                continue;
            auto found = std::find_if(groups.begin(), groups.end(),
                                      [&](Shared const& shared) { return shared.group == option.group; });
            if (found == groups.end())
                found = groups.insert(groups.end(), {option.group, "", ""});
            if (std::string const entry = Entry(option); found->entries.find(entry) == std::string::npos)
                found->entries += entry;
            if (std::string const taker = Bold(command->path); found->takers.find(taker) == std::string::npos)
                found->takers += (found->takers.empty() ? "" : ", ") + taker;
        }
    std::string text;
    for (Shared const& shared : groups)
        text.append(".SS ").append(shared.group).append("\nWith ").append(shared.takers).append(".\n") +=
            shared.entries;
    return text;
}

/// Each paragraph's first line is its heading.
std::string FooterSections(std::string const& footer) {
    std::string text;
    for (std::size_t begin = 0; begin < footer.size();) {
        std::size_t const end = std::min(footer.find("\n\n", begin), footer.size());
        std::string const paragraph = footer.substr(begin, end - begin);
        std::size_t const colon = paragraph.find(':');
        text += ".SH " + UpperCase(paragraph.substr(0, colon)) + "\n.nf\n";
        text += Escaped(paragraph.substr(paragraph.find_first_not_of(" \n", colon + 1))) + "\n.fi\n";
        begin = end + 2;
    }
    return text;
}

} // namespace

std::string ManPage(HVCommandDescription const& program, std::string const& footer) {
    auto const commands = program.All();
    std::string text =
        ".\\\" Made by \"reelhaul generate man\".\n.TH REELHAUL 1 \"\" \"Reelhaul " +
        std::string(reinterpret_cast<char const*>(ReelhaulVersionString)) +
        "\" \"User Commands\"\n.SH NAME\nreelhaul \\- analyse and download online media\n" +
        ".SH SYNOPSIS\n\\fBreelhaul\\fR \\fICOMMAND\\fR [\\fIOPTION\\fR]... [\\fIARGUMENT\\fR]...\n" +
        ".SH DESCRIPTION\n" + Escaped(program.help) +
        "\nResults go to standard output, everything else to standard error.\n.SH COMMANDS\n";
    for (HVCommandDescription const* const command : commands)
        if (!command->path.empty())
            text += Section(*command);
    text += ".SH OPTIONS\n";
    for (HVOptionDescription const& option : program.options)
        text += Entry(option);
    return text + SharedSections(commands) + FooterSections(footer) + kRest;
}

} // namespace Halvorn

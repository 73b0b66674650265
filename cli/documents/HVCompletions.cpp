#include "HVCompletions.h"

#include <algorithm>
#include <map>
#include <string_view>

namespace Halvorn {

namespace {

constexpr char const* kHead = "Made by \"reelhaul generate\".\n";

/// As one word of a shell, whatever is in it.
std::string Quoted(std::string_view text) {
    std::string result = "'";
    for (char const c : text)
        result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return result + "'";
}

std::string Join(std::vector<std::string> const& words, std::string_view separator) {
    std::string text;
    for (std::string const& word : words)
        text.append(text.empty() ? "" : separator).append(word);
    return text;
}

/// The text with a backslash before each of these characters.
std::string Escaped(std::string_view text, std::string_view characters) {
    std::string result;
    for (char const c : text) {
        if (characters.find(c) != std::string_view::npos)
            result += '\\';
        result += c;
    }
    return result;
}

std::vector<std::string> Each(std::vector<std::string> words, std::string (*change)(std::string_view)) {
    for (std::string& word : words)
        word = change(word);
    return words;
}

std::vector<std::string> Paths(HVCommandDescription const& program) {
    std::vector<std::string> paths;
    for (HVCommandDescription const* const command : program.All())
        if (!command->path.empty())
            paths.push_back(command->path);
    return paths;
}

/// Patterns of a case.
std::string PathPatterns(HVCommandDescription const& program, std::string_view separator) {
    return Join(Each(Paths(program), Quoted), separator);
}

// ---- bash ----

constexpr char const* kBashBegin =
    R"sh(_reelhaul_words() { # the words given that begin as the current one does
  local word
  for word in "$@"; do
    [[ $word != "$current"* ]] || COMPREPLY+=("$(printf '%q' "$word")")
  done
}

_reelhaul_paths() { # -f or -d: files or folders
  compopt -o filenames 2>/dev/null
  mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen "$1" -- "$current")
}

_reelhaul() {
  local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command='' word
  # The shell takes the sign in --name=VALUE for a word.
  [[ $before != = ]] || before=${COMP_WORDS[COMP_CWORD - 2]}
  [[ $current != = ]] || current=
  COMPREPLY=()
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    case "${command:+$command }$word" in
)sh";

std::string BashWords(std::vector<std::string> const& words) {
    return words.empty() ? "" : " _reelhaul_words " + Join(Each(words, Quoted), " ") + ";";
}

std::string BashValue(HVOptionDescription const& option) {
    std::string text = BashWords(option.words);
    if (option.kind == HVValueKind::File || option.kind == HVValueKind::Folder)
        text.append(" _reelhaul_paths ").append(option.kind == HVValueKind::File ? "-f" : "-d").append(";");
    return text;
}

/// What follows an option that takes a value.
std::string BashValues(HVCommandDescription const& program) {
    std::map<std::string, std::string> cases;
    for (HVCommandDescription const* const command : program.All())
        for (HVOptionDescription const& option : command->options)
            if (!option.positional && option.kind != HVValueKind::None)
                cases[Join(option.names, " | ")] = BashValue(option);
    std::string text = "  case $before in\n";
    for (auto const& [names, value] : cases)
        text.append("  ").append(names).append(")").append(value).append(" return ;;\n");
    return text + "  esac\n";
}

} // namespace

std::string BashCompletion(HVCommandDescription const& program) {
    std::string text = std::string("# shellcheck shell=bash\n# ") + kHead + "\n" + kBashBegin;
    text += "    " + PathPatterns(program, " | ") +
            ") command=${command:+$command }$word ;;\n    esac\n  done\n" + BashValues(program) +
            "  case $command/$current in\n";
    for (HVCommandDescription const* const command : program.All()) {
        std::vector<std::string> names;
        std::string words;
        for (HVOptionDescription const& option : command->options)
            if (option.positional)
                words += BashValue(option);
            else
                names.insert(names.end(), option.names.begin(), option.names.end());
        std::vector<std::string> inner;
        for (HVCommandDescription const& below : command->commands)
            inner.push_back(below.name);
        text += "  " + Quoted(command->path + "/-") + "*)" + BashWords(names) + ";\n";
        if (words += BashWords(inner); !words.empty())
            text += "  " + Quoted(command->path + "/") + "*)" + words + ";\n";
    }
    return text + "  esac\n}\n\ncomplete -F _reelhaul reelhaul\n";
}

// ---- zsh ----

namespace {

std::string ZshValue(HVOptionDescription const& option) {
    auto const words = Each(option.words, [](std::string_view word) { return Escaped(word, " :\\"); });
    std::string const name = Escaped(option.value.empty() ? option.names.back() : option.value, ":\\");
    std::string const action = option.kind == HVValueKind::File     ? "_files"
                               : option.kind == HVValueKind::Folder ? "_files -/"
                               : words.empty()                      ? " "
                                                                    : "(" + Join(words, " ") + ")";
    return ":" + name + ":" + action;
}

std::string ZshOption(HVOptionDescription const& option) {
    if (option.positional)
        return Quoted((option.repeats ? "*" : option.required ? "" : ":") + ZshValue(option));
    bool const takes = option.kind != HVValueKind::None;
    std::string rest = "[";
    rest.append(Escaped(option.help, "[]\\")).append("]").append(takes ? ZshValue(option) : "");
    std::string text;
    for (std::string const& name : option.names) {
        std::string const sign = !takes ? "" : name.starts_with("--") ? "=" : "+";
        std::string spec = "(";
        spec.append(Join(option.names, " ")).append(")").append(name).append(sign).append(rest);
        text.append(text.empty() ? "" : " ").append(Quoted(spec));
    }
    return text;
}

std::string ZshFunction(HVCommandDescription const& command) {
    std::string name = "_reelhaul" + std::string(command.path.empty() ? "" : "_") + command.path;
    std::replace(name.begin(), name.end(), ' ', '_');
    std::string text = name + "() {\n  local context state state_descr line ret=1\n  typeset -A opt_args\n"
                              "  _arguments -s -S -C";
    for (HVOptionDescription const& option : command.options)
        text += " \\\n    " + ZshOption(option);
    if (command.commands.empty())
        return text + "\n}\n\n";
    text += " \\\n    ': :->command' '*:: :->arguments' && ret=0\n  case $state in\n  command)\n"
            "    local -a commands=(";
    std::string cases;
    for (HVCommandDescription const& below : command.commands) {
        text += "\n      " + Quoted(Escaped(below.name, ":\\") + ":" + below.help);
        cases.append("    ").append(below.name).append(") ").append(name).append("_").append(below.name) +=
            " && ret=0 ;;\n";
    }
    return text + ")\n    _describe command commands && ret=0 ;;\n  arguments)\n    case $words[1] in\n" +
           cases + "    esac ;;\n  esac\n  return ret\n}\n\n";
}

} // namespace

std::string ZshCompletion(HVCommandDescription const& program) {
    std::string text = std::string("#compdef reelhaul\n# ") + kHead + "\n";
    for (HVCommandDescription const* const command : program.All())
        text += ZshFunction(*command);
    return text + "_reelhaul \"$@\"\n";
}

// ---- fish ----

namespace {

constexpr char const* kFishBegin = R"(
function __reelhaul_at # whether the words so far lead to this command
    set -l command
    for word in (commandline -opc)[2..-1]
        switch (string trim -- "$command $word")
            case )";

constexpr char const* kFishEnd = R"(
                set command (string trim -- "$command $word")
        end
    end
    test "$command" = "$argv[1]"
end

complete -c reelhaul -f
)";

std::string FishQuoted(std::string_view text) {
    return "'" + Escaped(text, "'\\") + "'";
}

std::string FishOption(HVOptionDescription const& option) {
    std::string text;
    if (!option.positional)
        for (std::string const& name : option.names)
            text += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
    std::string values = Join(Each(option.words, FishQuoted), " ");
    if (option.kind == HVValueKind::Folder)
        values = "(__fish_complete_directories)";
    if (!option.positional && option.kind != HVValueKind::None)
        text += option.kind == HVValueKind::File ? " -rF" : " -x";
    if (!values.empty())
        text += " -a " + (option.kind == HVValueKind::Folder ? FishQuoted(values) : "\"" + values + "\"");
    return text.empty() ? "" : text + " -d " + FishQuoted(option.help);
}

} // namespace

std::string FishCompletion(HVCommandDescription const& program) {
    std::string text = std::string("# ") + kHead + kFishBegin + PathPatterns(program, " ") + kFishEnd;
    for (HVCommandDescription const* const command : program.All()) {
        std::string const begin =
            "complete -c reelhaul -n " + FishQuoted("__reelhaul_at " + Quoted(command->path));
        for (HVCommandDescription const& below : command->commands)
            text += begin + " -a " + below.name + " -d " + FishQuoted(below.help) + "\n";
        for (HVOptionDescription const& option : command->options)
            if (std::string const arguments = FishOption(option); !arguments.empty())
                text.append(begin).append(arguments).append("\n");
    }
    return text;
}

} // namespace Halvorn

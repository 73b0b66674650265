#include "HVToolArguments.h"

#include <algorithm>

namespace Halvorn {

namespace {

using Args = std::vector<std::string>;

/// A new general record holds -1, with which the tool ends at once: its own number is meant.
void DropUnsetRetries(Args& args) {
    for (char const* const option : {"--retries", "--fragment-retries"}) {
        auto const unset = std::find(args.begin(), args.end(), option);
        if (unset != args.end() && unset + 1 != args.end() && unset[1] == "-1")
            args.erase(unset, unset + 2);
    }
}

/// The tool takes one source of logins.
void DropFileBesideCommand(Args& args) {
    auto const file = std::find(args.begin(), args.end(), "--netrc");
    if (file != args.end() && std::find(file, args.end(), "--netrc-cmd") != args.end())
        args.erase(file);
}

/// The table of providers writes "com130 - 02" where the tool knows "com130-02".
void JoinProvider(Args& args) {
    auto const option = std::find(args.begin(), args.end(), "--ap-mso");
    if (option == args.end() || option + 1 == args.end())
        return;
    std::string& id = option[1];
    if (auto const hyphen = id.find(" - "); hyphen != std::string::npos)
        id.replace(hyphen, 3, "-");
}

} // namespace

Args ToolArguments(Args args) {
    DropUnsetRetries(args);
    DropFileBesideCommand(args);
    JoinProvider(args);
    return args;
}

} // namespace Halvorn

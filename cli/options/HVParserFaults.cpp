#include "HVParserFaults.h"

#include <CLI/App.hpp>
#include <string_view>

namespace Halvorn {

namespace {

/// The command that the arguments reached, the innermost one.
CLI::App const& Reached(CLI::App const& app) {
    auto const inner = app.get_subcommands();
    return inner.empty() ? app : Reached(*inner.front());
}

/// The first argument that looks like an option and is none.
std::string UnknownOption(CLI::App const& app) {
    for (std::string const& rest : app.remaining(true))
        if (rest.starts_with('-'))
            return "there is no option " + rest.substr(0, rest.find('='));
    return {};
}

} // namespace

std::string EmptyValueFault(CLI::App const& app, int count, char const* const* arguments) {
    CLI::App const& command = Reached(app);
    for (int i = 1; i < count && std::string_view(arguments[i]) != "--"; ++i) {
        std::string const argument = arguments[i];
        if (!argument.starts_with("--") || argument.find('=') != argument.size() - 1)
            continue;
        std::string const name = argument.substr(0, argument.size() - 1);
        auto const* const option = command.get_option_no_throw(name);
        if (option != nullptr && option->get_items_expected_max() > 0)
            return name + ": the value is empty";
    }
    return {};
}

std::string ParserFault(CLI::ParseError const& event, CLI::App const& app, int count,
                        char const* const* arguments) {
    // More to the point than what the parser missed because of them.
    for (std::string given : {UnknownOption(app), EmptyValueFault(app, count, arguments)})
        if (!given.empty())
            return given;
    std::string fault = event.what();
    constexpr std::string_view kOverride = " was given a disallowed flag override";
    if (fault.ends_with(kOverride))
        return "--" + fault.substr(0, fault.size() - kOverride.size()) + " takes no value";
    auto const kind = static_cast<CLI::ExitCodes>(event.get_exit_code());
    if (kind == CLI::ExitCodes::ArgumentMismatch)
        return fault.substr(0, fault.find(':')) + ": the value is missing";
    if (auto const rest = app.remaining(true); kind == CLI::ExitCodes::ExtrasError && !rest.empty())
        return "\"" + rest.front() + "\" is one argument too many";
    return fault;
}

} // namespace Halvorn

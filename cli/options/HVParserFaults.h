#pragma once

#include <CLI/Error.hpp>
#include <string>

namespace CLI {
class App;
}

namespace Halvorn {

/// The parser takes "--output=" for "--output", and the next argument for its value. Returns the fault, if
/// any.
std::string EmptyValueFault(CLI::App const& app, int count, char const* const* arguments);

/// What the parser complains about, where its own words mean little to a user.
std::string ParserFault(CLI::ParseError const& event, CLI::App const& app, int count,
                        char const* const* arguments);

} // namespace Halvorn

#pragma once
// The help of the commands that take many options: in groups by what an option is for, one line each, what is
// used most first. Other commands have the parser's own help.

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <string>

namespace Halvorn {

class HVHelpFormatter final : public CLI::Formatter {
public:
    HVHelpFormatter();

    std::string make_help(CLI::App const* app, std::string name, CLI::AppFormatMode mode) const override;
};

} // namespace Halvorn

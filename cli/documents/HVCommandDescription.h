#pragma once
// What the command line takes, as plain data: the man page and the shells' completions are made from it.

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace Halvorn {

enum class HVValueKind { None, Text, File, Folder };

/// An option, or a positional argument.
struct HVOptionDescription {
    std::vector<std::string> names; ///< with their dashes, the long one last; the bare name of a positional
    std::string value;              ///< what the help calls the value; empty for a flag and a positional
    std::string help;
    std::string group; ///< heading in the help
    HVValueKind kind = HVValueKind::None;
    std::vector<std::string> words; ///< the values that are known beforehand
    bool positional = false;
    bool required = false;
    bool repeats = false;
};

struct HVCommandDescription {
    std::string path; ///< without the program's name: "tools update"; empty for the program itself
    std::string name;
    std::string help;
    std::vector<HVOptionDescription> options;
    std::vector<HVCommandDescription> commands;

    /// This one and all below it, in the order of the help.
    std::vector<HVCommandDescription const*> All() const;
};

/// Describes all that the help of `app` shows. Throws std::logic_error when known values are kept for an
/// option that is not there.
HVCommandDescription DescribeCommand(CLI::App const& app);

} // namespace Halvorn
